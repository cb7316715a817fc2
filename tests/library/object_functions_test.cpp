#include "reasoner/engine/HostObjects.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

int live = 0;

struct Machine {
  Machine() { ++live; }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;
  virtual ~Machine() { --live; }
  std::string label = "m";
  std::int32_t uses = 0;
};

struct Padding {
  virtual ~Padding() = default;
  std::int64_t padding = 0;
};

enum Speed { slow, fast };

// The base is not at the object's own address.
struct Drill : Padding, Machine {
  double power = 1.5;
  bool on = false;
  std::uint8_t level = 3;
  Speed speed = slow;
  std::shared_ptr<Machine> partner;
  TComponent* shelf = nullptr;
  std::int64_t serial = 5'000'000'000;
};

class ObjectFunctionsTest : public EngineTest {
 protected:
  ObjectFunctionsTest() {
    live = 0;
    Register(engine);
  }

  static void Register(TReasoner& engine) {
    engine.GetObjects()
        .Register<Machine>("Machine")
        .Factory([] { return std::make_unique<Machine>(); })
        .Action([](Machine& machine) { return ++machine.uses > 1; })
        .Field("label", &Machine::label);
    engine.GetObjects()
        .Register<Drill, Machine>("Drill")
        .Factory([] { return std::make_unique<Drill>(); })
        .Field("power", &Drill::power)
        .Field("on", &Drill::on)
        .Field("level", &Drill::level)
        .Field("partner", &Drill::partner)
        .Field("shelf", &Drill::shelf)
        .ReadOnly("serial", [](const Drill& drill) { return drill.serial; })
        .ReadOnly("uses", [](const Drill& drill) { return drill.uses; })
        .Enumeration(
            "speed", {"slow", "fast"}, [](const Drill& drill) { return drill.speed; },
            [](Drill& drill, Speed speed) { drill.speed = speed; });
  }
  void Bind(const std::string& name, const Ref<IKBValue>& value) {
    engine.GetContext().AddGlobalBinding(name, value);
  }
};

TEST_F(ObjectFunctionsTest, PropertiesOfEveryKind) {
  Check(R"(
    (bind ?d (create-object (get-class "DRILL"))) (bind ?m (create-object (get-class machine)))
    (create$ ?d)  ; expect: <Object: Drill>
    (get-properties ?d)  ; expect: label power on level partner shelf serial uses speed
    (get-property ?d Power) (set-property ?d level 255)  ; values: 1.5000, TRUE
    (get-property ?d level) (set-property ?d LABEL 7)  ; values: 255, TRUE
    (get-property ?d label) (set-property ?d speed FAST)  ; values: "7", TRUE
    (get-property ?d speed) (set-property ?d speed 0) (get-property ?d speed)  ; values: 1, TRUE, 0
    (get-property ?d partner) (set-property ?d partner ?m)  ; values: TRUE
    (eq (get-property ?d partner) ?m) (set-property ?d partner nil)  ; values: TRUE, TRUE
    (set-property ?d uses 4) (eq (get-property ?d nothing) nil)  ; values: FALSE, TRUE
    (execute-action ?d) (execute-action ?d) (get-property ?d uses)  ; values: FALSE, TRUE, 2
    (is-class ?d (get-class Machine))  ; expect: TRUE
    (set-property ?d level 256)  ; error: Invalid argument for $ function call: 256
    (set-property ?d speed 2)  ; error: Invalid argument for $ function call: 2
    (set-property ?d speed medium)  ; error: function call: medium
    (set-property ?d on maybe)  ; error: Value and type mismatch
    (set-property ?d partner (create-object (get-class TComponent)))  ; error: Invalid argument for $
    (get-property ?d serial)  ; error: Integer overflow in $
    (get-class Hammer)  ; error: Unknown class name: Hammer
    (create-object (get-class TObject))  ; error: Unknown class name: TObject )");
}

TEST_F(ObjectFunctionsTest, FreedObjectsReadAsGone) {
  Load("(bind ?d (create-object (get-class Drill))) (bind ?e ?d)");
  Load("(deftemplate t (slot o)) (assert (t (o ?d)))");
  EXPECT_EQ(live, 1);
  Check(R"(
    (free-object ?d ?e) (free-object ?e nil)  ; values: TRUE, TRUE
    (eq (get-property ?e power) nil) (set-property ?e power 1)  ; values: TRUE, FALSE
    (is-class ?e (get-class Drill)) (eq ?d ?e)  ; values: FALSE, TRUE
    (get-property (create-object (get-class Drill)) power)  ; expect: 1.5000 )");
  EXPECT_EQ(live, 1);
  engine.Retract(1);
  EXPECT_EQ(engine.GetFacts().GetCount(), 1);
}

TEST_F(ObjectFunctionsTest, WhatRulesMadeEndsWithTheEngine) {
  Ref<IKBValue> kept;
  {
    TReasoner other;
    Register(other);
    kept = other.ParseNExecuteFunCall("(create-object (get-class Drill))");
    other.Parse("(create-object (get-class TComponent))", true);
    EXPECT_EQ(live, 1);
  }
  EXPECT_EQ(live, 0);
  EXPECT_EQ(kept->ToString(), "<Object: Drill>");
  EXPECT_EQ(kept->GetAsObject(), nullptr);
  EXPECT_TRUE(kept->Equals(*kept->Clone()));
}

TEST_F(ObjectFunctionsTest, SharedAndLentObjectsStayTheHosts) {
  auto drill = std::make_shared<Drill>();
  const std::shared_ptr<Machine> as_machine = drill;
  Bind("d", engine.GetObjects().Share(as_machine));
  EXPECT_TRUE(engine.GetObjects().Share(drill)->Equals(*engine.GetObjects().Share(as_machine)));
  ExpectShown({{"(get-property ?d power)", "1.5000"}});
  EXPECT_EQ(engine.GetObjects().Get<Machine>(*engine.GetObjects().Share(drill)).get(), drill.get());
  drill.reset();
  EXPECT_EQ(live, 1);  // as_machine
  const_cast<std::shared_ptr<Machine>&>(as_machine).reset();
  EXPECT_EQ(live, 0);
  ExpectShown({{"(eq (get-property ?d power) nil)", "TRUE"}, {"(free-object ?d)", "TRUE"}});
  {
    Machine lent;
    Bind("l", engine.GetObjects().Lend(lent));
    ExpectShown({{"(set-property ?l label x)", "TRUE"}});
    EXPECT_EQ(lent.label, "x");
    engine.GetObjects().Forget(lent);
  }
  ExpectShown({{"(set-property ?l label y)", "FALSE"}});
  Machine kept;
  Bind("k", engine.GetObjects().Lend(kept));
  ExpectShown({{"(free-object ?k)", "TRUE"}, {"(set-property ?k label y)", "FALSE"}});
  EXPECT_EQ(kept.label, "m");
  for (int i = 0; i < 1000; ++i) engine.GetObjects().Share(std::make_shared<Machine>());
  EXPECT_LT(engine.GetObjects().GetCount(), 200u);
}

TEST_F(ObjectFunctionsTest, FreeingAnObjectInItsOwnSetter) {
  struct Suicide {
    int x = 0;
  };
  engine.GetObjects()
      .Register<Suicide>("Suicide")
      .Factory([] { return std::make_unique<Suicide>(); })
      .Property(
          "x", [](const Suicide& object) { return object.x; },
          [this](Suicide& object, int x) {
            Show("(free-object ?s)");
            object.x = x;
          });
  Load("(bind ?s (create-object (get-class Suicide)))");
  ExpectShown({{"(set-property ?s x 1)", "TRUE"}, {"(set-property ?s x 1)", "FALSE"}});
}

TEST_F(ObjectFunctionsTest, Components) {
  TComponent house;
  auto own = std::make_unique<TReasoner>(&house);
  own->SetName("engine");
  own->OnPrintOut = [](TReasoner&, const std::string&, const std::string&) {};
  const auto show = [&own](const std::string& call) {
    return own->ParseNExecuteFunCall(call)->ToString();
  };
  EXPECT_EQ(show("(is-class (get-component) (get-class TComponent))"), "TRUE");
  EXPECT_EQ(show("(eq (get-component Engine) (get-component (get-component) ENGINE))"), "TRUE");
  EXPECT_EQ(show("(bind ?c (create-component (get-class TComponent) (get-component)))"),
            "<Object: TComponent>");
  EXPECT_EQ(show("(set-property ?c Name Door)"), "TRUE");
  EXPECT_EQ(show("(length$ (get-components))"), "2");
  EXPECT_EQ(house.GetComponentCount(), 2u);
  // Ended by its owner, it is gone for the rules as well.
  delete house.FindComponent("Door");
  EXPECT_EQ(show("(eq (get-property ?c Name) nil)"), "TRUE");
  EXPECT_EQ(show("(free-object ?c)"), "TRUE");
  // Rules end what they have made, and not what the host has.
  show("(bind ?c (create-component (get-class TComponent) (get-component)))");
  show("(free-object ?c (get-component))");
  EXPECT_EQ(house.GetComponentCount(), 1u);
  EXPECT_EQ(show("(is-class (get-component) (get-class TComponent))"), "TRUE");
  own.reset();
}

TEST_F(ObjectFunctionsTest, ComponentsThatAreMissing) {
  Check(R"(
    (eq (get-component) nil)  ; expect: TRUE
    (get-component x)  ; error: Expected component argument to get-component function call
    (create-component (get-class TComponent) (create-object (get-class Drill)))  ; error: Expected component argument to create-component
    (create-component (get-class TComponent) nil (create-object (get-class TComponent)))  ; error: Invalid argument for $ )");
}

}  // namespace
}  // namespace reasoner
