// Functions, globals and defined types.

#include "reasoner/language/ClipsParser.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

Ref<IUserFunction> TKBClipsParser::ParseFunction() {
  const ImpliedGuard implied(*this);
  static constexpr std::string_view kLocation = "ParseFunction";
  const THeader header = ParseHeader(SExpectedDefFunction.kFormat, kLocation, "deffunction", true);
  const Ref<TInterpretedFunction> function = Make<TInterpretedFunction>(header.name);
  function->SetComment(header.comment);
  if (!header.token->Is('(')) ParseError(kLocation, SMissingOpenParens);
  Ref<IStreamToken> token = Next();
  for (; token->Is(dtVariable) || token->Is(dtMultiVariable); token = Next()) {
    function->AddArgument(token->GetText(), static_cast<TKBType>(token->GetDataType()));
  }
  RequireClose(*token, kLocation);
  token = Next();
  if (token->Is(dtString)) {
    function->SetComment(token->GetText());
    token = Next();
  }
  for (; !token->Is(')'); token = Next()) {
    if (token->IsPlainValue()) {
      function->AddStatement(token->Value());
    } else if (token->Is('(')) {
      PutBack(token);
      function->AddStatement(ParseFunCall());
    } else if (token->IsEnd()) {
      ParseError(kLocation, SUnexpectedEOF);
    } else {
      ParseError(kLocation, SUnexpectedCharacter, token->ToString());
    }
  }
  Ref<IUserFunction> result = function;
  OnParseFunction(*this, result);
  return result;
}

bool TKBClipsParser::ParseGlobalVariables() {
  const Ref<IStreamToken> open = Next();
  const Ref<IStreamToken> word = Next();
  if (!open->Is('(') || !(word->GetText() == "defglobal"))
    ParseError("ParseGlobalVariables", SExpectedDefGlobal);
  for (Ref<IStreamToken> token = Next(); !token->Is(')'); token = Next()) {
    PutBack(token);
    std::string name;
    const Ref<IKBValue> value = ParseVariable(name);
    engine_.SetGlobalVariable(name, value);
  }
  return true;
}

Ref<IKBDefinedType> TKBClipsParser::ParseDefinedType() {
  static constexpr std::string_view kLocation = "ParseDefinedType";
  const THeader header = ParseHeader(SExpectedDefType.kFormat, kLocation, "deftype", true);
  Ref<IKBDefinedType> type = Make<TKBDefinedType>(&engine_);
  if (!(header.token->GetText() == "extends")) ParseError(kLocation, SExpectedKeyword, "extends");
  Expect('(', kLocation);
  if (!(Next()->GetText() == "type")) ParseError(kLocation, SExpectedKeyword, "type");
  Ref<IKBDefinedType> ancestor;
  const TKBTypes types = ParseSlotTypes(ancestor);
  if (ancestor) {
    type->Assign(*ancestor);
    type->SetAncestor(ancestor);
  }
  type->SetBaseTypes(types);  // the ancestor's among them
  type->SetName(header.name);
  type->SetComment(header.comment);
  Expect(')', kLocation);
  Ref<IStreamToken> token;
  if (type->GetBaseTypes().Has(dtFuzzy)) {
    // The ancestor's terms are there to be used and to be replaced.
    const Ref<IFuzzyVariable> variable =
        ancestor ? type->GetFuzzyType() : Ref<IFuzzyVariable>(Make<TKBFuzzyVariable>());
    variable->SetParser(engine_.GetFuzzyParserLink());
    variable->SetName(header.name);
    ParseFuzzyClauses(*variable);
    type->SetFuzzyType(nullptr);  // the type's range and units follow its variable's
    type->SetFuzzyType(variable);
  }
  token = Next();
  while (token->Is('(')) {
    const Ref<IStreamToken> word = Next();
    Ref<IStreamToken> last;
    ParseFacet(*type, token, word, kExactWords, last);
    token = Next();
  }
  RequireClose(*token, kLocation);
  OnParseDefinedType(*this, type);
  return type;
}

}  // namespace reasoner
