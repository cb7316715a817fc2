// The grammar through the engine: what each production makes, and the exact text of each failure.

#include <string_view>

#include "reasoner/facts/FactSet.h"
#include "reasoner/match/Rule.h"
#include "reasoner/values/SingletonsVector.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class ParserTest : public EngineTest {
 protected:
  std::string ParseFailure(const std::string& text) {
    return FailureOf([&] { engine.Parse(text, true); });
  }

  // The part of a failure between "Parsing Error, " and " at line".
  static std::string Core(const std::string& message) {
    static constexpr std::string_view kStart = "Parsing Error, ";
    if (!message.starts_with(kStart)) return message;
    return message.substr(kStart.size(), message.find(" at line ") - kStart.size());
  }

  std::string Printed(const std::string& text) {
    TakeOutput();
    engine.Parse(text, true);
    return output;
  }
};

TEST_F(ParserTest, WithoutExecutionCallsAreOnlyRead) {
  TParsedType type = ptNone;
  engine.GetParser().OnParse = [&type](TKBParser&, TParsedType parsed, TObject*, IInterface*) {
    if (parsed != ptEOF) type = parsed;
  };
  engine.Parse("(unknown-function 1)", false);
  EXPECT_EQ(type, ptFunCall);
  EXPECT_EQ(output, "(unknown-function 1)\n");
  engine.Parse("(deftemplate a (slot x))", true);
  EXPECT_EQ(type, ptNone);
}

TEST_F(ParserTest, AFailureShowsBothEndsOfALongText) {
  std::string text = "(f";
  for (int i = 0; i < 200; ++i) text += " argument";
  const std::string message = ParseFailure(text);
  const std::string echo = message.substr(message.find(": ", message.find(" at line ")) + 2);
  EXPECT_EQ(echo.size(), 128 + 4 + 1 + 128);
  EXPECT_EQ(echo.substr(128, 5), "... \n");
  EXPECT_TRUE(echo.ends_with("argument EOF")) << echo;
}

TEST_F(ParserTest, NestingHasALimit) {
  engine.SetMaxDepth(1000);
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "(f ";
  EXPECT_EQ(Core(ParseFailure(text)), "Nested too deeply: expression in ParseFunCall");
}

TEST_F(ParserTest, CollectedFailuresComeAtTheEnd) {
  engine.SetParserErrorHandling(ehRaiseAllAtEnd);
  try {
    engine.Parse("(deftemplate a)(deftemplate b x)(deftemplate c)", true);
    FAIL();
  } catch (const EKBParseException& failure) {
    EXPECT_EQ(failure.GetMessage(),
              "Parsing Error, Expected \"(\", \"extends\", or \"is-a\" in ParseFactTemplate at "
              "line 1:  ( deftemplate "
              "b x \n");
  }
  EXPECT_TRUE(engine.FindFactTemplate("a"));
  EXPECT_FALSE(engine.FindFactTemplate("b"));
  EXPECT_TRUE(engine.FindFactTemplate("c"));

  // A parenthesis too many, wherever it stands, costs no construct but its own.
  const std::string own = "(defrule r (a ?x) => (b ?x))";
  for (std::size_t place = 0; place <= own.size(); ++place) {
    engine.Clear();
    std::string text = own;
    text.insert(place, ")");
    EXPECT_NE(ParseFailure("(deftemplate one) " + text + "(deftemplate two) (deftemplate three)"),
              "")
        << text;
    for (const char* name : {"one", "two", "three"})
      EXPECT_TRUE(engine.FindFactTemplate(name)) << name << " beside " << text;
    EXPECT_TRUE((place > 0 && place < own.size()) || engine.GetRules().ContainsKey("r")) << text;
  }

  std::string bad;
  for (int i = 0; i < 12; ++i) bad += "(deftemplate) ";
  const auto lines = [this, &bad] {
    const std::string message = ParseFailure(bad);
    return std::pair(message.substr(0, message.find('\n')),
                     std::count(message.begin(), message.end(), '\n'));
  };
  EXPECT_EQ(lines(), (std::pair<std::string, std::ptrdiff_t>("Errors parsing stream:", 12)));
  engine.SetParserMaxErrors(0);
  EXPECT_EQ(lines().second, 1);
  const std::string wrapped = ParseFailure("(no-such-function)");
  EXPECT_EQ(Core(wrapped), "Function is unimplemented or unassigned: no-such-function in Parse");
}

TEST_F(ParserTest, ValuesAndLists) {
  EXPECT_FALSE(engine.ParseValue(""));
  EXPECT_FALSE(engine.ParseValue(")"));
  const struct {
    const char* text;
    TKBType type;
    const char* shown;
  } rows[] = {
      {"a \"b\" 1", dtList, "a \"b\" 1 "},
      {"[", dtAtom, "["},
      {"((1 0) (2 (f)))", dtSingletons, ""},
      {"a & b", dtList, "a "},
  };
  for (const auto& row : rows) {
    const Ref<IKBValue> value = engine.ParseValue(row.text);
    ASSERT_TRUE(value) << row.text;
    EXPECT_EQ(value->GetDType(), row.type) << row.text;
    if (value->GetDType() != dtSingletons) {
      EXPECT_EQ(value->ToString(), row.shown);
    }
  }
  const Ref<IFunCall> call = engine.ParseFunCall("(f = (g) [ ((1 0)) ?x)");
  EXPECT_EQ(call->GetArgument(0)->GetDType(), dtString);
  EXPECT_EQ(call->GetArgument(1)->GetDType(), dtFunCall);
  EXPECT_EQ(call->GetArgument(2)->ToString(), "\"[\"");
  EXPECT_EQ(call->GetArgument(3)->GetDType(), dtSingletons);
  EXPECT_EQ(engine.ParseFunCall("(?f 1)")->ToString(), "(__get-var ?f 1)");
  EXPECT_EQ(engine.ParseFunCall("; first\n(f)")->GetComment().view(), "; first");
  const Ref<IFunCall> modify = engine.ParseFunCall("(modify ?f (x 1) (y 2 3))");
  EXPECT_EQ(modify->GetArgument(2)->ToString(), "y 2 3  ");
}

TEST_F(ParserTest, TypedValuesAreConverted) {
  const auto typed = [this](const char* text, TKBTypes types) {
    return engine.ParseValue(text, types, nullptr);
  };
  EXPECT_TRUE(typed("1.0", dtInteger)->Equals(*NewInteger(1)));
  EXPECT_TRUE(typed("3", dtFloat)->Equals(*NewFloat(3)));
  EXPECT_EQ(typed("?x", dtInteger)->GetDType(), dtVariable);
  EXPECT_EQ(typed("=(f)", dtInteger)->GetDType(), dtFunCall);
  EXPECT_EQ(typed("nil", dtInteger).get(), FCNil.get());
  EXPECT_EQ(engine.ParseSingletons("((1 0) (2.5 ?y))")->GetCount(), 2);
  engine.GetParser().StrictFacts = true;
  EXPECT_EQ(Core(FailureOf([this] { engine.ParseFact("(nobody)"); })),
            "Unknown fact template: nobody in ParseFact");
  engine.SetTypeChecks({});
  EXPECT_EQ(typed("3", dtFloat)->GetDType(), dtInteger);
  EXPECT_EQ(typed("word", dtFloat)->GetDType(), dtAtom);
}

TEST_F(ParserTest, SlotsKnowTypesAndDefaults) {
  engine.Parse("(deftype t extends (type INTEGER) (range 0 9))", true);
  const auto slot_default = [this](const char* text) -> std::string {
    const Ref<IKBValue> value = engine.ParseFactTemplateSlot(text)->GetSlotDefault();
    return value ? std::string(GetKBTypeName(value->GetDType())) + " " + value->ToString() : "none";
  };
  const struct {
    const char *text, *wanted;
  } rows[] = {
      {"(slot x (TYPE INTEGER) (Range 5 ?VARIABLE))", "dtInteger 5"},
      {"(slot x (default (+ 1 2)))", "dtInteger 3"},
      {"(slot x (default-dynamic (+ 1 2)))", "dtFunCall (+ 1 2)"},
      {"(slot x (type INTEGER) (default nil))", "dtAtom "},
      {"(multislot x (cardinality 2 3) (type INTEGER))", "dtList 0 0 "},
      {"(multislot x (default a (+ 1 2) b))", "dtList a 3 b "},
      {"(multislot x (type FLOAT) (default 1 2))", "dtList 1.0000 2.0000 "},
      {"(slot x (allowed-symbols b a))", "dtAtom b"},
  };
  for (const auto& row : rows) EXPECT_EQ(slot_default(row.text), row.wanted) << row.text;

  const Ref<IFactSlot> narrowed = engine.ParseFactTemplateSlot("(slot x (type t) (range 2 3))");
  EXPECT_EQ(narrowed->GetExtendedTypeInfo()->GetMinRange(), 2);
  EXPECT_EQ(engine.FindDefinedType("t")->GetMinRange(), 0);
  EXPECT_EQ(engine.ParseFactTemplateSlot("(slot x (type ?VARIABLE INTEGER))")->GetSlotType(),
            KBSlotTypes);
  const Ref<IKBDefinedType> child =
      engine.ParseDefinedType("(deftype u \"c\" extends (type t ATOM) (units \"m\"))");
  EXPECT_EQ(child->GetAncestor().get(), engine.FindDefinedType("t").get());
  EXPECT_EQ(child->GetBaseTypes(), (TKBTypes{dtAtom, dtInteger}));
  EXPECT_EQ(child->GetMaxRange(), 9);
}

// A function that runs while text is read may have text read itself, and may fail in it.
TEST_F(ParserTest, ReadingNests) {
  engine.GetParser().OnParseFactTemplate = [this](TKBParser&,
                                                  const Ref<IFactTemplate>& fact_template) {
    if (fact_template->GetTemplateName() != "outer") return;
    EXPECT_EQ(Core(ParseFailure("(deftemplate inner (bad x))")),
              "Invalid slot type: bad in ParseFactTemplateSlot");
    engine.Parse("(deftemplate inner)", true);
  };
  EXPECT_EQ(Printed("(deftemplate outer) done"), "done\n");
  EXPECT_TRUE(engine.FindFactTemplate("inner"));
}

class LanguageEdgeCasesTest : public EngineTest {};

// A name that the system makes up is never one that the rule's text already uses.
TEST_F(LanguageEdgeCasesTest, WildcardsAreNoVariablesOfTheRule) {
  for (const std::string pattern : {"(b ?)", "(b $?)", "(b =(+ 1 1))", "(b 2|3)"}) {
    for (const std::string prefix : {"_blank_", "_blank_$", "_eq_"}) {
      engine.Clear();
      std::string rule = "(defrule r (a";
      // One of these is the next name.
      for (std::int32_t i = 0; i < 9; ++i) {
        rule += " ?" + prefix + std::to_string(engine.GetSymbolIndex() + i);
      }
      Load(rule + ") " + pattern +
           " => (printout t matched)) (assert (a 9 8 7 6 5 4 3 1 0) (b 2))");
      engine.Run();
      EXPECT_EQ(TakeOutput(), "matched") << rule << ") " << pattern;
    }
  }
}

}  // namespace
}  // namespace reasoner
