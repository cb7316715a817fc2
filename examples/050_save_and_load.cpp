// A knowledge base is text: it is saved as a document of the rule language, read again by another
// engine, and goes on there where it stopped.

#include <filesystem>
#include <iostream>
#include <string>

#include "reasoner/reasoner.h"

using namespace reasoner;

static const char* const kCellar = R"(
(deftype percent "of the volume" extends (type NUMBER) (range 0 100) (units "% vol"))
(deftype grape extends (type SYMBOL) (allowed-symbols riesling merlot syrah))

(deftemplate wine "a bottle of the cellar"
   (slot name (type STRING))
   (slot alcohol (type percent) (default 12.5))
   (multislot grapes (type grape) (cardinality 1 3) (default riesling))
   (slot year (type INTEGER) (range 1950 ?VARIABLE) (default 2020)))

(deffunction age "in years" (?year) (- ?*now* ?year))
(defglobal ?*now* = 2026 ?*old* = (age 2018))

(deffacts cellar
   (wine (name "Rheingau") (year 2015))
   (wine (name "Pauillac") (grapes merlot syrah) (alcohol 13.5)))

(defrule drink "what should not wait"
   (declare (salience 5))
   (wine (name ?name) (year ?year&:(> (age ?year) ?*old*)))
   =>
   (printout t "drink " ?name ", " (age ?year) " years old" crlf))
)";

static void Show(const char* title, TReasoner& engine) {
  engine.OnPrintOut = [](TReasoner&, const std::string&, const std::string& text) {
    std::cout << text;
  };
  std::cout << title << ": " << engine.GetFacts().GetCount() << " facts, "
            << engine.GetRules().GetCount() << " rule\n";
  engine.Run();
}

int main() {
  const std::string file_name =
      (std::filesystem::temp_directory_path() / "cellar-example.clp").string();

  TReasoner engine;
  engine.Parse(kCellar, true);
  engine.Reset();
  engine.Assert("(wine (name \"Hermitage\") (grapes syrah) (year 1999))");
  engine.SaveToFile(file_name);  // the old file or the new one, never half of one

  // What is loaded is what was there: definitions, values of globals, facts.
  TReasoner copy;
  copy.Clear();
  copy.LoadFromFile(file_name);
  std::filesystem::remove(file_name);
  Show("loaded", copy);

  std::cout << engine.PrettyPrint(*engine.FindFactTemplate("wine")) << "\n";
  try {
    copy.Assert("(wine (name \"Sauternes\") (grapes semillon))");
  } catch (const EKBException& failure) {
    std::cout << failure.what() << "\n";
  }

  // A definition that changes takes along what depends on it.
  copy.Parse("(deftype percent extends (type NUMBER) (range 0 13))", true);
  Show("redefined", copy);
}
