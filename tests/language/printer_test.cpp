// Printed constructs: their exact text, and that they read back as what they were.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/facts/FactSet.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/language/CaptionTrees.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/match/Rule.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class PrinterTest : public testing::Test {
 public:
  std::string Template(const std::string& text) {
    return PrettyPrint(*engine_.ParseFactTemplate(text));
  }
  std::string Type(const std::string& text) { return PrettyPrint(*engine_.ParseDefinedType(text)); }
  std::string Function(const std::string& text) {
    return PrettyPrint(*engine_.ParseFunction(text));
  }
  std::string Call(const std::string& text) { return PrettyPrint(*engine_.ParseFunCall(text)); }
  std::string Rule(const std::string& text) { return PrettyPrint(*engine_.ParseRule(text)); }
  std::string FactSet(const std::string& text) { return PrettyPrint(*engine_.ParseFactSet(text)); }

  struct TRow {
    const char *text, *wanted;
  };
  // Each text prints as wanted, and what is printed prints the same again.
  void ExpectPrinted(std::string (PrinterTest::*print)(const std::string& text),
                     const std::vector<TRow>& rows) {
    for (const TRow& row : rows) {
      const std::string printed = (this->*print)(row.text);
      EXPECT_EQ(printed, row.wanted) << row.text;
      EXPECT_EQ((this->*print)(printed), printed) << row.text;
    }
  }

  TReasoner engine_;
};

TEST_F(PrinterTest, Calls) {
  ExpectPrinted(
      &PrinterTest::Call,
      {
          {"(f a \"b\\\"c\" 1 -2.5 ?x $?y nil (g))", "(f a \"b\\\"c\" 1 -2.5000 ?x $?y nil (g))"},
          {"(= 0.00001 2.0)", "(= 1e-05 2.0000)"},
          {"(f a\\ b a\\;b \\( \\12)", "(f a\\ b a\\;b \\( \\12)"},
          {"(f ((1 0) (?x (g))))", "(f ((1 0) (?x (g)) ))"},
          {"(f & [ =)", "(f \"&\" \"[\" \"=\")"},
          {"(modify ?f (x 1) (y a b))", "(modify ?f (x 1 ) (y a b  ))"},
          {"(assert (a 1 nil) (b))", "(assert (a 1 nil ) (b))"},
          {"(modify ?f ?pair (x ?y a) 3)", "(modify ?f ?pair (x ?y a  ) 3)"},
          {"; note\n\n  ;; more\n(f)", "; note\n\n;; more\n(f)"},
          {"(f ; why\n (g))", "(f ; why\n(g))"},
      });
}

TEST_F(PrinterTest, CommentsBecomeComments) {
  const Ref<IFunCall> call = engine_.ParseFunCall("(f)");
  call->SetComment("one\r\n  two\n;three");
  EXPECT_EQ(PrettyPrint(*call), "; one\n; two\n;three\n(f)");
}

TEST_F(PrinterTest, FactsInsideConstructsShowWhatWasWritten) {
  engine_.Parse("(deftemplate p (slot x (default 1)) (slot y) (multislot m))", true);
  ExpectPrinted(&PrinterTest::Call, {
                                        {"(assert (p))", "(assert (p))"},
                                        {"(assert (p (x nil) (m)))", "(assert (p (m ) (x nil)))"},
                                    });
  ExpectPrinted(&PrinterTest::FactSet,
                {
                    {"(deffacts s)", "(deffacts s\n)"},
                    {"(deffacts s \"a \\\"b\\\"\" (p (y 2)) (q \"line\nbreak\"))",
                     "(deffacts s \"a \\\"b\\\"\"\n   (p (y 2))\n   (q \"line\nbreak\" )\n)"},
                });
  const Ref<IFact> fact = engine_.ParseFact("(p (y \"a\"))");
  EXPECT_EQ(PrettyPrint(*fact), "(p (x 1) (y \"a\"))");
  EXPECT_EQ(FactToSource(*fact, false), "(p (m ) (x 1) (y \"a\"))");
  EXPECT_EQ(PrettyPrint(*fact, "x"), "(x 1)");
  EXPECT_EQ(PrettyPrint(*fact, "x", *NewAtom("b")), "(x b)");
  EXPECT_EQ(PrettyPrint(*fact, "x", std::string_view()), "");
}

TEST_F(PrinterTest, Templates) {
  engine_.Parse("(deftype t extends (type INTEGER))(deftemplate parent (slot x))", true);
  ExpectPrinted(
      &PrinterTest::Template,
      {
          {"(deftemplate a \"b\\\\c\" (slot x) (multislot y))",
           "(deftemplate a \"b\\\\c\"\n   (slot x )\n   (multislot y )\n)"},
          {"(deftemplate a extends parent (slot y))",
           "(deftemplate a\n   extends parent\n   (slot x )\n   (slot y )\n)"},
          {"(deftemplate a is-a t)", "(deftemplate a is-a t)"},
          {"(deftemplate a (slot x (type INTEGER) (default nil)) (slot y (default-dynamic (f "
           "1.5))))",
           "(deftemplate a\n   (slot x (type INTEGER)\n         (default nil) )\n   (slot y "
           "(default-dynamic (f 1.5000)) )\n)"},
          {"(deftemplate a (slot x (type t) (default 3)) (multislot y (default a \"b\")))",
           "(deftemplate a\n   (slot x (type t)      (default 3) )\n   (multislot y (default a "
           "\"b\" ) )\n)"},
          {"(deftemplate a (slot x (type NUMBER) (range 0.25 ?VARIABLE) (default 1)))",
           "(deftemplate a\n   (slot x (type INTEGER FLOAT)\n      (range 0.2500 ?VARIABLE) \n     "
           "    (default 1) )\n)"},
      });
}

TEST_F(PrinterTest, DefinedTypes) {
  engine_.Parse("(deftype t extends (type INTEGER) (range 0 9))", true);
  ExpectPrinted(
      &PrinterTest::Type,
      {
          {"(deftype a extends (type SYMBOL))", "(deftype a extends (type ATOM)\n)"},
          {"(deftype a \"c\" extends (type t ATOM) (units \"m per s\"))",
           "(deftype a \n   \"c\"\n   extends (type t ATOM)\n   (units \"m per s\")\n)"},
          {"(deftype a extends (type t) (range 2 3) (units m))",
           "(deftype a extends (type t )\n   (range 2 3) \n   (units m)\n)"},
          {"(deftype a extends (type NUMBER) (range -1e12 0.1))",
           "(deftype a extends (type INTEGER FLOAT)\n   (range -1000000000000.0000 0.1000) \n)"},
          {"(deftype a extends (type LEXEME) (cardinality 1 ?VARIABLE) (allowed-strings \"x y\" b) "
           "(allowed-symbols c\\ d))",
           "(deftype a extends (type ATOM STRING)\n   (cardinality 1 ?VARIABLE) \n   "
           "(allowed-lexemes c\\ d \"x y\" \"b\" )\n)"},
          {"(deftype a extends (type NUMBER) (allowed-values 1 2.5 x \"y\"))",
           "(deftype a extends (type INTEGER FLOAT)\n   (allowed-values x \"y\" 1 2.5000 )\n)"},
      });
}

TEST_F(PrinterTest, Functions) {
  ExpectPrinted(
      &PrinterTest::Function,
      {
          {"(deffunction f \"a\" (?x $?y) (g ?x) ?y)",
           "(deffunction f (?x $?y)\n   \"a\"\n   (g ?x)\n   ?y\n)\n"},
          {"(deffunction f () \"\" \"text\")", "(deffunction f ()\n   \"\"\n   \"text\"\n)\n"},
      });
  const std::string built_in = PrettyPrint(*engine_.GetUserFunction("abs"));
  EXPECT_TRUE(built_in.starts_with(";; abs function\n;;    ")) << built_in;
  EXPECT_NE(built_in.find("\n;;         syntax: (abs "), std::string::npos) << built_in;
}

TEST_F(PrinterTest, Rules) {
  engine_.Parse("(deftemplate p (slot x) (slot y) (multislot m))", true);
  ExpectPrinted(
      &PrinterTest::Rule,
      {
          {"(defrule r =>)", "(defrule r\n\n   =>\n)"},
          {"(defrule r \"why\" (declare (oneshot TRUE) (enabled FALSE) (salience -5)) (a) =>)",
           "(defrule r\n   \"why\"\n   (declare (salience -5) (enabled FALSE) (oneshot TRUE))\n   "
           "(a )\n   =>\n)"},
          {"(defrule r (a ?x&:(> ?x 1) b ~c) (p (y ?x)) =>)",
           "(defrule r\n   (a ?x&:(> ?x 1) b ~c)\n   (p (y ?x) )\n   =>\n)"},
          {"(defrule r (c) ?f <- (unique (a ?x)) (not (not (b ?x))) (not (test (f ?x))) =>)",
           "(defrule r\n   (c )\n   ?f <- (unique (a ?x))\n   (exists (b ?x))\n   (not (test (f "
           "?x)))\n   "
           "=>\n)"},
          {"(defrule r ; one\n (a)\n ; two\n (not (b)) => ; three\n (f \"x\ny\" (g)))",
           "(defrule r\n   ; one\n   (a )\n   ; two\n   (not (b ))\n   =>\n   ; three\n   (f "
           "\"x\ny\" (g))\n)"},
          {"(defrule r (a 1|2 ? $?) (not (b ?&~3)) (c ?_blank_7) =>)",
           "(defrule r\n   (a 1|2 ? $?)\n   (not (b ?&~3))\n   (c ?_blank_7)\n   =>\n)"},
          {"(defrule r (a =(f) ?x&~=(f ?x)|=(g)|?_eq_7&:(eq* ?_eq_7 (h))) =>)",
           "(defrule r\n   (a =(f) ?x&~=(f ?x)|=(g)|?_eq_7&:(eq* ?_eq_7 (h)))\n   =>\n)"},
          {"(defrule r (declare) (declare 1) (test (f)) =>)",
           "(defrule r\n   (declare)\n   (declare 1)\n   (test (f))\n   =>\n)"},
          {"(defrule r (p (m)) (p (x)) =>)", "(defrule r\n   (p (m ) )\n   (p )\n   =>\n)"},
      });
}

TEST_F(PrinterTest, Globals) {
  const auto print = [this](const char* name, const char* value) {
    return PrettyPrint(name, *engine_.ParseValue(value));
  };
  EXPECT_EQ(print("?*a*", "(f 0.1)"), "?*a* = (f 0.1000)");
  EXPECT_EQ(print("*a*", "a \"b\" nil"), "?*a* = (create$ a \"b\" nil)");
  TValueHashTable table;
  EXPECT_EQ(PrettyPrint(table), "(defglobal)");
  table.Put("*a*", NewInteger(1));
  table.Put("*b*", NewList(NewVector()));
  EXPECT_EQ(PrettyPrint(table), "(defglobal ?*a* = 1 ?*b* = (create$))");
}

TEST_F(PrinterTest, IndentationLeavesStringsAlone) {
  EXPECT_EQ(IndentSource("(a\n\"b\nc\"\n; it's \"open\nd\\\ne\\\"\nf)"),
            "(a\n   \"b\nc\"\n   ; it's \"open\n   d\\\ne\\\"\n   f)");
}

class CaptionTreesTest : public EngineTest {
 protected:
  static std::string Drawn(const TCaptionNode& node, const std::string& indent = "") {
    std::string text = indent + node.caption + "\n";
    for (const TCaptionNode& child : node.children) text += Drawn(child, indent + " ");
    return text;
  }
};

TEST_F(CaptionTreesTest, ATypeShowsWhatItHas) {
  Load(R"((deftype base extends (type NUMBER))
          (deftype t "a remark" extends (type base) (units mm) (range 1 2.5) (cardinality 0 4)
            (allowed-integers 1 2)))");
  EXPECT_EQ(Drawn(TypeTree(*engine.FindDefinedType("t"))),
            "t\n Ancestor Type: base\n Primitive Types: Integer, Float\n Comment: a remark\n"
            " Units: mm\n Cardinality: 0-4\n Range: 1.0000-2.5000\n"
            " Allowed:    (allowed-integers 1 2 ) \n\n");
  EXPECT_EQ(Drawn(TypeTree(*engine.FindDefinedType("base"))),
            "base\n Primitive Types: Integer, Float\n");
}

TEST_F(CaptionTreesTest, TemplatesShowTheirSlotsByName) {
  Load(
      "(deftemplate parent (slot b (type STRING))) (deftemplate child \"c\" extends parent"
      " (multislot a (type ATOM) (default x y)))");
  TCaptionNode tree;
  TFactTemplates::FillTreeViewNode(tree, *engine.FindFactTemplate("child"));
  EXPECT_EQ(Drawn(tree),
            "\n child\n  Comment: c\n  Parent: parent\n  a\n   Primitive Types: Atom\n"
            "   Multislot\n   Default: x y \n  b\n   Primitive Types: String\n   Default: \"\"\n");
  TCaptionNode all;
  engine.GetFactTemplates().FillTreeView(all);
  EXPECT_EQ(all.children.size(), 4u);
}

TEST_F(CaptionTreesTest, TheNetworkShowsANodeUnderEachParent) {
  Load("(defrule r (a ?x) (b ?x) =>)");
  TCaptionNode tree;
  engine.GetReteNetwork().FillTreeView(tree);
  ASSERT_EQ(tree.children.size(), 2u);
  const TCaptionNode* left = &tree.children[0];
  const TCaptionNode* right = &tree.children[1];
  while (left->children.front().caption.starts_with("ctSingle")) left = &left->children.front();
  while (right->children.front().caption.starts_with("ctSingle")) right = &right->children.front();
  ASSERT_TRUE(left->children.front().caption.starts_with("ctLeft ")) << Drawn(tree);
  ASSERT_TRUE(right->children.front().caption.starts_with("ctRight ")) << Drawn(tree);
  EXPECT_EQ(left->children.front().caption.substr(7), right->children.front().caption.substr(8));
}

}  // namespace
}  // namespace reasoner
