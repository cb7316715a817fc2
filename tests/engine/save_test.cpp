// The document of a knowledge base, files that are written whole, and copies between engines.

#include <filesystem>

#include "reasoner/support/WholeFile.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace reasoner {
namespace {

namespace fs = std::filesystem;

class SaveTest : public EngineTest {
 protected:
  std::string Path(const char* name) const { return folder / name; }
  // What stands under a title of the document, up to the next line of stars.
  std::string Section(const std::string& title) {
    const std::string text = engine.GetExpertSystem();
    const std::size_t at = text.find("\n; " + title + " \n");
    if (at == std::string::npos) return "none";
    const std::size_t begin = at + title.size() + 5;
    return text.substr(begin, text.find("\n; *****", begin) - begin);
  }
  std::string Facts(TReasoner& of) { return of.GetFacts().ToString(); }

  TemporaryFolder folder;
};

TEST_F(SaveTest, GlobalsThatNeedAFunctionComeBehindTheFunctions) {
  Load(R"((deffunction twice (?x) (* ?x ?*base*))
          (defglobal ?*base* = 2)
          (defglobal ?*late* = (twice 4))
          (defglobal ?*later* = (+ ?*late* 1))
          (defglobal ?*early* = (+ 1 2)))");
  EXPECT_EQ(Section("Global Variables"), "\n(defglobal ?*base* = 2 ?*early* = (+ 1 2))");
  const std::string text = engine.GetExpertSystem();
  EXPECT_GT(text.find("(defglobal ?*late* = (twice 4) ?*later* = (+ ?*late* 1))"),
            text.find("(deffunction twice"))
      << text;
  TReasoner other;
  other.Parse(text, true);
  EXPECT_EQ(other.ParseNExecuteFunCall("(create$ ?*late* ?*later*)")->ToString(), "8 9 ");
}

TEST_F(SaveTest, FuzzyValuesAndPointsComeBackWhereverTheyAre) {
  Load(R"((deftype heat extends (type FUZZY) (range 0 10) (values (term hot ((0 0) (10 1)))))
          (deftemplate note (slot about) (multislot all))
          (defglobal ?*call* = (create-fuzzy-value heat very hot) ?*early* = (tri 1 2 3))
          (bind ?hot (create-fuzzy-value heat hot))
          (assert (note (about ?hot) (all ?hot b)) (note (about (get-fs ?hot)))))");
  const Ref<IKBValue> list = engine.ParseNExecuteFunCall("(create$ ?hot (get-fs ?hot) b)");
  engine.GetGlobalVariables().Put("*list*", list);
  engine.GetGlobalVariables().Put("*value*", list->GetAsList()->GetItem(0));
  engine.GetGlobalVariables().Put("*points*", list->GetAsList()->GetItem(1));
  EXPECT_EQ(Section("Global Variables").find("heat"), std::string::npos) << "it comes later";
  TReasoner other;
  other.Clear();
  other.Parse(engine.GetExpertSystem(), true);
  const auto kinds = [](const IValueVector& values) {
    std::string text;
    for (const Ref<IKBValue>& value : values) {
      text += std::string(GetKBTypeName(value->GetDType())) + " ";
    }
    return text;
  };
  const Ref<IKBValue> globals =
      other.ParseNExecuteFunCall("(create$ ?*call* ?*early* ?*value* ?*points* ?*list*)");
  EXPECT_EQ(kinds(*globals->GetAsList()), "dtFuzzy dtFuzzy dtFuzzy dtSingletons dtList ");
  EXPECT_EQ(kinds(*globals->GetAsList()->GetItem(4)->GetAsList()), kinds(*list->GetAsList()));
  EXPECT_EQ(Facts(other), Facts(engine));
  for (int i = 1; i < 3; ++i) {
    const Ref<IFact> saved = engine.GetFacts().Get(i);
    const Ref<IFact> loaded = other.GetFacts().Get(i);
    EXPECT_EQ(loaded->GetValue("about")->GetDType(), i == 1 ? dtFuzzy : dtSingletons);
    EXPECT_EQ(kinds(*loaded->GetValue("all")->GetAsList()),
              kinds(*saved->GetValue("all")->GetAsList()));
  }
}

TEST_F(SaveTest, MarkedTemplatesAreMarkedAgain) {
  Load("(deftemplate wish (slot n)) (do-backward-chaining wish) (defrule r (need-wish (n ?x)) =>)");
  const std::string text = engine.GetExpertSystem();
  EXPECT_NE(text.find("\n(do-backward-chaining wish)\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("(do-backward-chaining need-wish)"), std::string::npos);
  TReasoner other;
  other.Parse(text, true);
  EXPECT_TRUE(other.FindFactTemplate("wish")->IsBackwardChaining());
  EXPECT_NE(other.GetRules().Find("r"), nullptr);
}

TEST_F(SaveTest, ValuesWithoutTextAreToldOfAndOthersComeBackAsTheyWere) {
  Load("(deftemplate item (slot n (type INTEGER)) (slot s (default x)) (multislot m))");
  const Ref<IFact> fact = engine.FindFactTemplate("item")->NewFact();
  fact->SetValue("n", NewString("no number"));
  fact->SetValue("s", NewFactId(0));
  const Ref<IValueVector> list = NewVector();
  list->Add(NewAtom("nil"));
  list->Add(NewFactId(0));
  list->Add(NewFloat(1.0 / 3));
  fact->SetValue("m", NewList(list));
  engine.Assert(fact);
  EXPECT_EQ(Section("Facts"),
            "\n(assert\n   (Initial-Fact)\n"
            "   ; slot m: a value without text is left out\n"
            "   ; slot s: a value without text is left out\n"
            "   (item (m (sym-cat n il) 0.3333333333333333 ) (n (str-cat \"no number\")))\n)\n");
  TReasoner other;
  other.Clear();
  other.Parse(engine.GetExpertSystem(), true);
  const Ref<IFact> loaded = other.GetFacts().Get(1);
  EXPECT_EQ(loaded->GetValue("n")->GetDType(), dtString);
  EXPECT_EQ(loaded->GetValue("m")->GetAsList()->GetItem(0)->ToString(), "nil");
  EXPECT_EQ(loaded->GetValue("m")->GetAsList()->GetItem(1)->GetAsFloat(), 1.0 / 3);
  EXPECT_EQ(loaded->GetValue("s")->ToString(), "x") << "the default";
}

TEST_F(SaveTest, ADocumentKeepsTheIndexOfSymbolsAndTheSettingOfTerms) {
  Load(
      "(set-fuzzy-auto-terms FALSE) (deftype heat extends (type FUZZY) (range 0 9))"
      "(deffunction new-node () (assert (node (gensym*)))) (new-node) (gensym*)");
  TReasoner other;
  other.Parse(engine.GetExpertSystem(), true);
  EXPECT_EQ(other.ParseNExecuteFunCall("(new-node)")->ToString(), "<Fact-2>");
  EXPECT_EQ(Facts(other), "(Initial-Fact)\n(node gen0 )\n(node gen2 )");
  EXPECT_EQ(other.FindDefinedType("heat")->GetFuzzyType()->GetSetCount(), 0);
  EXPECT_FALSE(other.FuzzyAutoTerms);
  // A symbol that a text uses is not generated.
  other.Parse("(assert (node gen5))", true);
  EXPECT_EQ(other.ParseNExecuteFunCall("(gensym*)")->ToString(), "gen6");
  // Types that have no such terms get none while the setting is on.
  other.FuzzyAutoTerms = true;
  TReasoner third;
  third.Parse(other.GetExpertSystem(), true);
  EXPECT_EQ(third.FindDefinedType("heat")->GetFuzzyType()->GetSetCount(), 0);
  EXPECT_TRUE(third.FuzzyAutoTerms);
}

TEST_F(SaveTest, SavingChangesNothing) {
  Load(
      "(deftemplate item (slot a) (slot b)) (deffacts s (item (b 1)) (item (a 1)))"
      "(defrule r (item (a ?)) (not (other $?)) =>) (deftemplate item (slot a))");
  TFactSet unread;
  unread.SetFactSetName("unread");
  unread.SetFacts({"(never-seen 1)", "(item (a 2))"});
  unread.SetEngineNoParse(&engine);
  engine.GetFactSets().Add(unread);
  int parsed = 0;
  engine.GetParser().OnParseFact = [&parsed](TKBParser&, const Ref<IFact>&) { ++parsed; };
  const std::int32_t index = engine.GetSymbolIndex();
  const std::int32_t templates = engine.GetFactTemplates().GetCount();
  const std::string text = engine.GetExpertSystem();
  for (const char* line : {"; does not fit: (item (b 1))", "; does not fit: (never-seen 1)",
                           "\n   (item (a 1))", "\n   (item (a 2))"})
    EXPECT_NE(text.find(line), std::string::npos) << text;
  EXPECT_EQ(engine.GetSymbolIndex(), index);
  EXPECT_EQ(engine.GetFactTemplates().GetCount(), templates);
  EXPECT_EQ(parsed, 0);
}

TEST_F(SaveTest, ALoadGoesOnBehindWhatDoesNotFitAndTellsEach) {
  const std::string path = Path("knowledge.clp");
  WriteFileWhole(path,
                 "(deftemplate item (slot a))\n"
                 "(defrule lost (item (b ?)) =>)\n"
                 "(deffunction f () (assert (item (b 1))))\n"
                 "(assert (item (a 1)))\n"
                 "(defrule late (test (g ?x)) =>)\n"
                 "(defrule kept (item (a ?x)) =>)\n");
  const std::string message = FailureOf([&] { engine.LoadFromFile(path); });
  for (const char* line : {":2: No such slot name: \"b\"", ":3: No such slot name: \"b\"",
                           ":5: Unknown variable name: x"})
    EXPECT_NE(message.find(path + line), std::string::npos) << message;
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
  EXPECT_TRUE(engine.GetRules().ContainsKey("kept"));
  EXPECT_EQ(engine.GetRules().GetCount(), 1);
  // What runs may be what the rest builds on.
  WriteFileWhole(path, "(assert (item (a 2)))\n(oops)\n(assert (item (a 3)))\n");
  EXPECT_NE(FailureOf([&] { engine.LoadFromFile(path); }).find("oops"), std::string::npos);
  EXPECT_EQ(engine.GetFacts().GetCount(), 3);
}

TEST_F(SaveTest, LoadingKeepsFactsAndSettingTheSystemResets) {
  Load("(deftemplate a (slot n)) (deffacts start (a (n 1))) (assert (a (n 2)))");
  const std::string text = engine.GetExpertSystem();
  TReasoner loaded;
  loaded.Parse(text, true);
  EXPECT_EQ(Facts(loaded), "(Initial-Fact)\n(a (n 2))");
  TReasoner set;
  set.Parse("(defrule gone (a) =>)", true);
  set.SetExpertSystem(text);
  EXPECT_EQ(Facts(set), "(Initial-Fact)\n(a (n 1))");
  EXPECT_EQ(set.GetRules().GetCount(), 0);
}

TEST_F(SaveTest, ARuleWithoutPatternsDoesNotFireAgainForALoad) {
  Load("(defrule start => (printout t started))");
  const std::string text = engine.GetExpertSystem();
  EXPECT_EQ(engine.Run(), 1);
  engine.DuplicateConstructs = dcIgnore;
  Load(text);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
}

TEST_F(SaveTest, KindsAreSavedAndLoadedAlone) {
  Load(R"((deftype small extends (type INTEGER) (range 0 9))
          (deftype tiny extends (type small) (range 0 3))
          (deftemplate a (slot n (type tiny))) (deftemplate b (slot n))
          (defrule second (a) =>) (defrule first (b) =>)
          (assert (a (n 1)) (b (n "two")) (a (n 3))))");
  engine.SaveRules(Path("rules"));
  EXPECT_LT(folder.Content("rules").find("second"), folder.Content("rules").find("first"))
      << "in the order of the table";
  engine.SaveFacts(Path("facts"), "a");
  EXPECT_EQ(folder.Content("facts"), "(a (n 1))\n(a (n 3))\n");
  engine.SaveFacts(Path("all"));
  engine.SaveFactTemplates(Path("templates"));
  engine.SaveDefinedTypes(Path("types"), TEncoding::Unicode());
  TReasoner other;
  other.Parse("(defrule gone (z) =>) (deftype gone extends (type ATOM))", true);
  other.LoadDefinedTypes(Path("types"), TEncoding::Unicode());
  EXPECT_EQ(other.GetDefinedTypes().GetNames(), (std::vector<std::string>{"small", "tiny"}));
  EXPECT_EQ(other.GetRules().GetCount(), 0) << "cleared with the templates";
  other.LoadFactTemplates(Path("templates"));
  other.LoadRules(Path("rules"));
  EXPECT_EQ(other.GetRules().GetNames(), (std::vector<std::string>{"second", "first"}));
  other.LoadFacts(Path("all"));
  EXPECT_EQ(Facts(other), "(Initial-Fact)\n(a (n 1))\n(b (n \"two\"))\n(a (n 3))");
  EXPECT_EQ(other.GetAgendaCount(), 3);
  other.Reset();
  EXPECT_EQ(Facts(other), "(Initial-Fact)") << "the engine's own templates are there";
}

TEST_F(SaveTest, AFileIsWrittenWholeOrNotAtAll) {
  const std::string path = Path("kb.clp");
  engine.SaveToFile(path);
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("kb.clp", Path("link"));
  Load("(deffacts one (a))");
  engine.SaveToFile(Path("link"));
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  const std::string saved = folder.Content("kb.clp");
  EXPECT_NE(saved.find("(deffacts one"), std::string::npos);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_NE(FailureOf([&] { engine.SaveToFile(Path("no/such/folder.clp")); }), "");
  EXPECT_EQ(folder.Content("kb.clp"), saved);
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder.GetPath())) ++files;
  EXPECT_EQ(files, 2u) << "no temporary file is left";
  WriteFileWhole("/dev/null", "text");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(SaveTest, ACopyIsAnEngineOfItsOwn) {
  Load(R"((deftype small extends (type INTEGER) (range 0 9))
          (deftype tiny extends (type small) (units "mm"))
          (deftemplate a (slot n (type tiny))) (deftemplate b extends a)
          (deffunction f (?x) (g ?x)) (deffunction g (?x) (+ ?x 1))
          (defglobal ?*g* = (f 1)) (deffacts start (a (n 2)) (b (n 3)))
          (defrule r (declare (salience 5)) (a (n ?x)) => (printout t (f ?x)))
          (reset))");
  engine.SetStrategy(ssBreadthFirst);
  TReasoner copy;
  copy.Parse("(defrule gone (a) =>)", true);
  copy.Assign(engine);
  EXPECT_EQ(copy.GetStrategy(), ssBreadthFirst);
  EXPECT_EQ(copy.FindDefinedType("tiny")->GetAncestor().get(), copy.FindDefinedType("small").get());
  EXPECT_EQ(copy.FindFactTemplate("b")->GetParent().get(), copy.FindFactTemplate("a").get());
  EXPECT_EQ(copy.FindFactTemplate("a")->GetSlot("n")->GetExtendedTypeInfo().get(),
            copy.FindDefinedType("tiny").get());
  EXPECT_EQ(Facts(copy), Facts(engine));
  EXPECT_EQ(copy.GetUserFunctions().ToString(), engine.GetUserFunctions().ToString());
  std::string printed_there;
  copy.OnPrintOut = [&printed_there](TReasoner&, const std::string&, const std::string& text) {
    printed_there += text;
  };
  EXPECT_EQ(copy.Run(), 2);
  EXPECT_EQ(printed_there, "34");
  EXPECT_EQ(engine.GetAgendaCount(), 2) << "the source has not moved";
  engine.Clear();
  copy.Reset();
  printed_there.clear();
  EXPECT_EQ(copy.Run(), 2);
  EXPECT_EQ(printed_there, "34") << "nothing of the copy hangs on the source";
}

TEST_F(SaveTest, ARuleOfAnotherEngineComesOverByItsText) {
  Load("(deffunction f () 1) (defrule r (a ?x) => (printout t here))");
  TReasoner other;
  other.Parse("(defrule r (b ?x) (c ?x) => (printout t there ?x))", true);
  TRule& rule = *engine.GetRules().Find("r");
  rule.Assign(*other.GetRules().Find("r"));
  other.Clear();
  Load("(assert (b 1) (c 1))");
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "there1");
}

TEST_F(SaveTest, SalienceExpressionsComeBackAsExpressions) {
  for (const bool plain : {true, false}) {
    engine.Clear();
    engine.SetTextbookSemantics(plain);
    Load(
        "(defglobal ?*zero* = 0 ?*four* = 4)"
        "(defrule zero (declare (salience ?*zero*)) (a) =>)"
        "(defrule sum (declare (salience (+ ?*zero* 4))) (a) =>)");
    const std::string sum = plain ? "(+ ?*zero* 4)" : "4";
    TReasoner copy;
    copy.Assign(engine);
    TReasoner loaded;
    loaded.SetTextbookSemantics(plain);
    loaded.Parse(engine.GetExpertSystem(), true);
    Load("(deftemplate a (slot x))");  // rebuilds the rules
    for (TReasoner* each : {&engine, &copy, &loaded}) {
      const std::string text = each->GetExpertSystem();
      EXPECT_NE(text.find("(salience ?*zero*)"), std::string::npos) << text;
      EXPECT_NE(text.find("(salience " + sum + ")"), std::string::npos) << text;
      each->Parse("(bind ?*zero* 3)", true);
      each->Assert("(a)");
      EXPECT_EQ(each->GetActivation(0).ToString().substr(0, 6), plain ? "7 sum " : "4 sum ");
      EXPECT_EQ(each->GetActivation(1).ToString().substr(0, 6), "3 zero");
    }
  }
}

TEST_F(SaveTest, LineBreaksInTextsComeBackInTheMeaningTheyWereSavedIn) {
  const std::string program =
      "(deffacts d \"of\nus\" (a \"x\ny\tz\\\\n\"))"
      "(defrule r (a \"x\ny\") => (printout t \"x\ny\"))";
  for (const bool plain : {true, false}) {
    engine.Clear();
    engine.SetTextbookSemantics(plain);
    Load(program);
    engine.Reset();
    const std::string document = engine.GetExpertSystem();
    const std::string written = plain ? "\n   (a \"x\\ny\\tz\\\\n\"" : "\n   (a \"x\ny\tz\\\\n\"";
    EXPECT_NE(document.find(written), document.rfind(written)) << document;
    EXPECT_EQ(engine.GetRules().Find("r")->ToString().find("x\ny") == std::string::npos, plain);
    TReasoner loaded;
    loaded.SetTextbookSemantics(plain);
    loaded.Parse(document, true);
    EXPECT_EQ(Facts(loaded), Facts(engine));
    if (plain) continue;
    loaded.Clear();
    loaded.SetTextbookSemantics(true);
    loaded.Parse(document, true);
    EXPECT_EQ(Facts(loaded), Facts(engine)) << "what was saved literally reads plainly, too";
  }
}

}  // namespace
}  // namespace reasoner
