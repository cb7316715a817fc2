// Constructs as text of the rule language.
//
// What is printed reads back as an equal construct: words are escaped where they must be, an empty
// atom stands as `nil`, and a float shows as many digits as it needs. A fact by itself is printed
// for people, as it is shown everywhere: a slot without text is left out. Facts inside constructs
// show exactly the slots that were written.

#pragma once

#include <string>
#include <string_view>

#include "reasoner/facts/FactSet.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/match/Rule.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/values/ValueHashTable.h"

namespace reasoner {

std::string PrettyPrint(const TFactSet& fact_set);
std::string PrettyPrint(const IFact& fact);
// One slot of a fact, with the fact's value, another value, or a text; empty for an empty text.
std::string PrettyPrint(const IFact& fact, std::string_view slot_name);
std::string PrettyPrint(const IFact& fact, std::string_view slot_name, const IKBValue& value);
std::string PrettyPrint(const IFact& fact, std::string_view slot_name, std::string_view text);
std::string PrettyPrint(const IFactSlot& slot);
std::string PrettyPrint(const IFactTemplate& fact_template);
std::string PrettyPrint(const IFunCall& fun_call);
// With `pairs` each argument but the first is a slot and its value.
std::string PrettyPrint(const IFunCall& fun_call, bool pairs);
std::string PrettyPrint(const TRule& rule);
std::string PrettyPrint(const TRule& rule, TRuleConstruct construct);
// A slot that has lost its tests prints as a new variable, which moves the engine's symbol index.
std::string PrettyPrint(const TKBPattern& pattern);
// One definition of a global; empty for an empty name.
std::string PrettyPrint(std::string_view variable_name, const IKBValue& value);
std::string PrettyPrint(const ISingletonsVector& singletons);
// A function that is not written in the language prints as a comment.
std::string PrettyPrint(const IUserFunction& function);
std::string PrettyPrint(const IInterpretedFunction& function);
std::string PrettyPrint(const IKBDefinedType& defined_type);
std::string PrettyPrint(const TValueHashTable& variables);

// The ancestor that a type is printed with. One that was redefined may bring what the type lacks:
// such a type shows all that it has by itself, as an implicit one does. Null where there is none.
const IKBDefinedType* PrintedAncestor(const IKBDefinedType& type);
// The clauses of a type's allowed values, a line each.
std::string GetAllowedString(const IKBDefinedType& type);

// A value as it is written where the language reads one.
void AppendSource(std::string& source, const IKBValue& value);
std::string ValueToSource(const IKBValue& value);
// A call that gives the value: it stands where the value itself would be refused.
std::string CallFor(const IKBValue& value);
// A fact that reads back as it is: every slot, or those alone that were written.
std::string FactToSource(const IFact& fact, bool written_slots_alone);
// A fact as a knowledge base keeps it: what reads back to an equal fact, whatever its values are.
// A value that its slot does not admit is written as a call that gives it. What has no text is left
// out, and a line of comment in front says so.
std::string FactToSavedSource(const IFact& fact);
// The fact of a line of a fact set. It is read by a parser of its own: no event is raised and no
// template is implied.
Ref<IFact> ReadFactLine(IReasoner& reasoner, const std::string& line);
// Whether the language can write the value.
bool HasSource(const IKBValue& value);
// A text in double quotes.
std::string QuoteText(std::string_view text);

// While one lives, line breaks and tabulators of texts are printed as "\n" and "\t" on this thread,
// as an engine with the plain meaning reads them. Else they stand as they are: that reads back in
// both meanings.
class ScopedTextEscapes {
 public:
  explicit ScopedTextEscapes(const IReasoner* engine);
  ~ScopedTextEscapes();
  ScopedTextEscapes(const ScopedTextEscapes&) = delete;
  ScopedTextEscapes& operator=(const ScopedTextEscapes&) = delete;

 private:
  const bool before_;
};
// Moves a text right by one step: blanks behind each line break that is no character of a string or
// a word.
std::string IndentSource(std::string_view source);

}  // namespace reasoner
