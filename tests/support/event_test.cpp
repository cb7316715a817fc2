#include "reasoner/support/Event.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>

namespace reasoner {
namespace {

using Numbers = Event<void(int& number)>;

class EventTest : public ::testing::Test {
 protected:
  // A handler that leaves its mark and adds 1 to the number.
  auto Mark(char mark) {
    return [this, mark](int& number) {
      calls += mark;
      ++number;
    };
  }
  int Call() {
    int number = 0;
    (*event)(number);
    return number;
  }

  std::optional<Numbers> event{std::in_place};
  std::string calls;
};

TEST_F(EventTest, TheSlotIsUsedLikeAFunction) {
  EXPECT_TRUE(*event == nullptr);
  EXPECT_EQ(Call(), 0);
  *event = Mark('a');
  EXPECT_TRUE(*event);
  const Numbers copy = *event;
  const std::function<void(int&)> kept = *event;
  const std::function<void(int&)> kept_empty = Numbers();
  const Numbers old = std::exchange(*event, Mark('b'));
  Call();
  *event = [old, this](int& number) {
    calls += '(';
    old(number);
    calls += ')';
  };
  EXPECT_EQ(Call(), 1);
  *event = kept;
  Call();
  *event = copy;
  Call();
  *event = kept_empty;
  EXPECT_FALSE(*event);
  *event = copy;
  *event = {};
  EXPECT_FALSE(*event);
  *event = std::function<void(int&)>();
  EXPECT_FALSE(event->IsHeard());
  EXPECT_EQ(calls, "b(a)aa");
}

TEST_F(EventTest, ListenersHearBehindTheSlotUntilTheirSubscriptionEnds) {
  Subscription first = event->Subscribe(Mark('1'));
  *event = Mark('s');
  {
    const Subscription second = event->Subscribe(Mark('2'));
    EXPECT_EQ(Call(), 3);
  }
  Numbers moved = std::move(*event);
  EXPECT_FALSE(*event) << "a move takes the slot alone";
  EXPECT_EQ(Call(), 1);
  *event = moved;
  Call();
  first = event->Subscribe(Mark('3'));
  Call();
  first.End();
  Call();
  EXPECT_EQ(calls, "s121s1s3s");
  first = event->Subscribe(Mark('4'));
  event.reset();
  EXPECT_FALSE(first.IsActive()) << "the event has ended";
}

TEST_F(EventTest, HandlersMayChangeTheEventDuringTheCall) {
  Subscription second;
  Subscription third;
  Subscription first = event->Subscribe([&](int&) {
    calls += '1';
    second.End();
    third = event->Subscribe(Mark('3'));
    first.End();
    calls += '!';  // what was captured is still there
  });
  second = event->Subscribe(Mark('2'));
  *event = [this, mark = std::string("s")](int&) {
    *event = Mark('t');
    calls += mark;
  };
  Call();
  EXPECT_EQ(calls, "s1!") << "new handlers are for the next call";
  Call();
  EXPECT_EQ(calls, "s1!t3");
  *event = [this, mark = std::string("e")](int&) {
    event.reset();
    calls += mark;
  };
  Call();
  EXPECT_EQ(calls, "s1!t3e") << "an event that has ended calls no listener any more";
}

TEST_F(EventTest, AllAreCalledAndTheFirstFailureGoesOn) {
  *event = [](int&) { throw std::runtime_error("slot"); };
  const Subscription first = event->Subscribe([](int&) { throw std::logic_error("listener"); });
  const Subscription second = event->Subscribe(Mark('2'));
  EXPECT_THROW(Call(), std::runtime_error);
  *event = nullptr;
  EXPECT_THROW(Call(), std::logic_error);
  EXPECT_EQ(calls, "22");
}

TEST_F(EventTest, HandlersAreCalledWhileTheirArgumentsHold) {
  bool holds = true;
  *event = Mark('s');
  const Subscription first = event->Subscribe([&](int&) { holds = false; });
  const Subscription second = event->Subscribe(Mark('2'));
  int number = 0;
  event->CallWhile([&] { return holds; }, number);
  event->CallWhile([&] { return holds; }, number);
  EXPECT_EQ(calls, "s");
}

}  // namespace
}  // namespace reasoner
