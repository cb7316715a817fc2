// A fixture for tests that speak to an engine in the rule language.

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/HostFunction.h"
#include "reasoner/support/Exception.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "tests/support/Failure.h"
#include "tests/support/Script.h"

namespace reasoner {

// What an engine prints on the terminal is collected in `output`, the calls of OnPrintOut one by
// one in `printed`.
class EngineTest : public ::testing::Test {
 protected:
  struct TShown {
    std::string call;
    std::string shown;
  };

  EngineTest() {
    engine.OnPrintOut = [this](TReasoner&, const std::string& out_id, const std::string& text) {
      printed.emplace_back(out_id, text);
      output += text;
    };
  }

  // The value of a call, as it prints.
  std::string Show(const std::string& call) {
    return engine.ParseNExecuteFunCall(call)->ToString();
  }

  // Defines constructs and runs top-level calls; what they print is dropped.
  void Load(const std::string& text) {
    engine.Parse(text, true);
    TakeOutput();
  }

  // Runs a script whose lines tell what they print or raise.
  void Check(const std::string& script) {
    for (const TScriptPart& part : ScriptParts(script, {"expect", "values", "error", "fires"}))
      DoPart(engine, part, output, "script");
    TakeOutput();
  }

  void ExpectShown(const std::vector<TShown>& rows) {
    for (const TShown& row : rows) {
      try {
        EXPECT_EQ(Show(row.call), row.shown) << row.call;
      } catch (const std::exception& failure) {
        ADD_FAILURE() << row.call << " raised: " << failure.what();
      }
    }
  }

  // The call fails, and the failure's message holds `message`.
  void ExpectError(const std::string& call, const std::string& message) {
    try {
      ADD_FAILURE() << call << " gave " << Show(call) << " instead of: " << message;
    } catch (const std::exception& failure) {
      EXPECT_NE(std::string(failure.what()).find(message), std::string::npos)
          << call << " raised: " << failure.what() << "\n  instead of: " << message;
    }
  }

  // The call prints the text, all of it in one piece.
  void ExpectPrinted(const std::string& call, const std::string& text,
                     const std::string& out_id = "t") {
    TakeOutput();
    Show(call);
    ASSERT_EQ(printed.size(), 1u) << call;
    EXPECT_EQ(printed[0], std::pair(out_id, text)) << call;
  }

  std::string Facts() { return engine.GetFacts().GetToIDString(); }

  // The rules with activations, first to fire first.
  std::string OnAgenda() {
    std::string names;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
      names += engine.GetActivation(i).GetRule().GetRuleName() + " ";
    }
    return names;
  }

  // A function of the engine without arguments, that does what it is told.
  std::unique_ptr<TUserFunction> HostFunction(const std::string& name,
                                              std::function<void()> operation) {
    auto function = std::make_unique<TUserFunction>();
    function->SetFunctionName(name);
    function->OnCall = [operation = std::move(operation)](TObject&, const IFunCall&, TKBContext&,
                                                          Ref<IKBValue>&) { operation(); };
    function->SetEngine(&engine);
    return function;
  }

  // What has been printed since the last time.
  std::string TakeOutput() {
    printed.clear();
    return std::exchange(output, "");
  }

  TReasoner engine;
  std::string output;
  std::vector<std::pair<std::string, std::string>> printed;
};

}  // namespace reasoner
