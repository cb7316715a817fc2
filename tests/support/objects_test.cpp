#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "reasoner/support/Component.h"
#include "reasoner/support/Exception.h"
#include "reasoner/support/Pool.h"
#include "reasoner/support/Ref.h"

namespace reasoner {

class TNamedThing : public TPersistent {};
template <class T>
class TThingOf : public TPersistent {};

namespace {

class Link : public IInterface, public Pooled {
 public:
  explicit Link(Ref<Link> next_link) : next(std::move(next_link)) {}
  Ref<Link> next;
};

class Constant : public IInterface {
 public:
  Constant() { MakeImmortal(); }
};

class Failing : public IInterface {
 public:
  Failing() { throw std::runtime_error("no"); }
};

TEST(RefTest, ALongChainIsFreedWithoutRecursion) {
  const std::int64_t before = IInterface::LiveObjects();
  Ref<Link> first;
  for (int index = 0; index < 1'000'000; ++index) first = Make<Link>(std::move(first));
  EXPECT_EQ(IInterface::LiveObjects(), before + 1'000'000);
  first = nullptr;
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

TEST(RefTest, LiveObjectsCountWhatExists) {
  const std::int64_t before = IInterface::LiveObjects();
  {
    const Ref<Link> link = Make<Link>(nullptr);
    const Ref<const Link> other = link;
    EXPECT_EQ(link->GetRefCount(), 2);
    EXPECT_EQ(IInterface::LiveObjects(), before + 1);
    EXPECT_THROW(Make<Failing>(), std::runtime_error);
    EXPECT_EQ(IInterface::LiveObjects(), before + 1);
  }
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

TEST(RefTest, AConstantOutlivesItsReferences) {
  const std::int64_t before = IInterface::LiveObjects();
  static Constant constant;
  {
    const Ref<Constant> ref(&constant);
    const Ref<Constant> other = ref;
    EXPECT_EQ(IInterface::LiveObjects(), before);
  }
  const Ref<Constant> again(&constant);
  EXPECT_GT(again->GetRefCount(), 1000);
}

TEST(RefTest, CountsHoldWhenThreadsShareObjectsAndHandThemOn) {
  const std::int64_t before = IInterface::LiveObjects();
  std::vector<Ref<Link>> made[4];
  Ref<Link> shared = Make<Link>(nullptr);
  {
    std::vector<std::thread> threads;
    for (auto& list : made) {
      threads.emplace_back([&list, shared] {
        for (int index = 0; index < 5000; ++index) list.push_back(Make<Link>(shared));
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(shared->GetRefCount(), 4 * 5000 + 1);
  std::thread([&made] {
    for (auto& list : made) list.clear();
  }).join();
  EXPECT_EQ(shared->GetRefCount(), 1);
  shared = nullptr;
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

TEST(PoolTest, BlocksNeverOverlap) {
  std::vector<std::pair<char*, std::size_t>> blocks;
  for (int round = 0; round < 3; ++round) {
    for (std::size_t index = 0; index < 6000; ++index) {
      const std::size_t size = 1 + (index * 37) % 300;
      blocks.emplace_back(static_cast<char*>(PoolAllocate(size)), size);
      std::fill_n(blocks.back().first, size, static_cast<char>(index));
    }
    for (std::size_t index = 0; index < blocks.size(); ++index) {
      const auto [block, size] = blocks[index];
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
      ASSERT_EQ(std::count(block, block + size, static_cast<char>(index)),
                static_cast<std::ptrdiff_t>(size));
    }
    const auto free_all = [&blocks] {
      for (const auto& [block, size] : blocks) PoolFree(block, size);
      blocks.clear();
    };
    // In the second round another thread frees, in the last one its blocks come back into use.
    if (round == 1) {
      std::thread(free_all).join();
    } else {
      free_all();
    }
  }
}

TEST(PoolTest, ServesObjectsThatEndAfterTheThreadsLists) {
  const std::int64_t before = IInterface::LiveObjects();
  std::thread([] {
    // Made before the pool is first used in this thread, so it ends after the pool's own lists.
    static thread_local Ref<Link> kept;
    kept = nullptr;
    kept = Make<Link>(Make<Link>(nullptr));
  }).join();
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

// Writes into a log what it is told.
class TLogger : public TComponent {
 public:
  TLogger(std::string name, std::string& log, TComponent* owner = nullptr)
      : TComponent(owner), log_(log) {
    SetName(std::move(name));
  }
  ~TLogger() override {
    BeginDestruction();
    DestroyComponents();
    log_ += "~" + GetName() + ' ';
  }

  void Notification(TComponent& component, TOperation operation) override {
    TComponent::Notification(component, operation);
    log_ += GetName() + (operation == opInsert ? "+" : "-") + component.GetName() + ' ';
    if (on_notification) on_notification(component, operation);
  }

  std::function<void(TComponent&, TOperation)> on_notification;

 private:
  std::string& log_;
};

TEST(ObjectTest, AssignRefusesAnUnknownClass) {
  TNamedThing target;
  try {
    target.Assign(TComponent());
    FAIL();
  } catch (const EKitException& failure) {
    EXPECT_EQ(failure.GetMessage(), "Cannot assign a TComponent to a TNamedThing");
  }
}

TEST(ComponentTest, OwnerEndsWhatItOwnsTheLastFirst) {
  std::string log;
  {
    TLogger owner("owner", log);
    new TLogger("a", log, &owner);
    auto* b = new TLogger("b", log, &owner);
    new TLogger("c", log, b);
    EXPECT_EQ(owner.GetComponentCount(), 2u);
    EXPECT_EQ(owner.FindComponent("b"), b);
    log.clear();
  }
  EXPECT_EQ(log, "owner-b b-c ~c ~b owner-a ~a ~owner ");
}

TEST(ComponentTest, DeathLeavesTheOwnersListAndTellsEachOnce) {
  std::string log;
  TLogger owner("owner", log);
  TLogger watcher("watcher", log);
  {
    TLogger part("part", log, &owner);
    part.FreeNotification(watcher);
    part.FreeNotification(watcher);
    part.FreeNotification(owner);
    log.clear();
  }
  EXPECT_EQ(log, "owner-part watcher-part ~part ");
  EXPECT_EQ(owner.GetComponentCount(), 0u);
}

TEST(ComponentTest, WatchersMayEndEachOtherOnTheWay) {
  std::string log;
  auto watched = std::make_unique<TLogger>("watched", log);
  TLogger first("first", log);
  auto second = std::make_unique<TLogger>("second", log);
  TLogger third("third", log);
  for (TLogger* watcher : {&first, second.get(), &third}) watched->FreeNotification(*watcher);
  first.on_notification = [&](TComponent& component, TOperation) {
    EXPECT_TRUE(component.IsDestroying());
    component.RemoveFreeNotification(first);
    second.reset();
  };
  watched.reset();
  EXPECT_EQ(log, "first-watched ~second third-watched ~watched ");
}

TEST(ComponentTest, ChangingTheOwnerTellsBoth) {
  std::string log;
  TLogger old_owner("old", log);
  TLogger new_owner("new", log);
  {
    TLogger part("part", log);
    old_owner.InsertComponent(part);
    new_owner.InsertComponent(part);
    EXPECT_EQ(part.GetOwner(), &new_owner);
    EXPECT_EQ(old_owner.GetComponentCount(), 0u);
    new_owner.RemoveComponent(part);
    EXPECT_EQ(part.GetOwner(), nullptr);
  }
  EXPECT_EQ(log, "old+part old-part new+part new-part ~part ");

  TLogger inner("inner", log, &new_owner);
  EXPECT_THROW(inner.InsertComponent(new_owner), EKitException);
}

TEST(ComponentTest, ARefusedInsertionLeavesNoTrace) {
  std::string log;
  TLogger owner("owner", log);
  owner.on_notification = [](TComponent&, TOperation) { throw EKitException("full"); };
  EXPECT_THROW(TComponent part(&owner), EKitException);
  EXPECT_EQ(owner.GetComponentCount(), 0u);
}

}  // namespace
}  // namespace reasoner
