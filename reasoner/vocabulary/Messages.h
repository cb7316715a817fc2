// Every failure text of the system, one entry each. The number of conversions is part of an entry's
// type, so that a message cannot be raised with another number of arguments.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "reasoner/support/Exception.h"
#include "reasoner/support/Format.h"

namespace reasoner {

template <std::size_t size>
struct TLiteral {
  char text[size]{};
  consteval TLiteral(const char (&literal)[size]) {  // NOLINT: a literal converts by itself
    for (std::size_t i = 0; i < size; ++i) text[i] = literal[i];
  }
};

constexpr std::size_t CountConversions(std::string_view format) {
  std::size_t count = 0;
  for (const char character : format) count += character == '%' ? 1 : 0;
  return count;
}

template <TLiteral literal>
struct TMessage {
  static constexpr std::string_view kFormat{literal.text, sizeof(literal.text) - 1};
  static constexpr std::size_t kArity = CountConversions(kFormat);
};

// The text of a message filled in.
template <TLiteral literal, class... TArgs>
std::string FillMessage(TMessage<literal> message, const TArgs&... args) {
  static_assert(sizeof...(args) == message.kArity, "the message wants another number of arguments");
  return FormatText(message.kFormat, {FormatArg(args)...});
}

template <TLiteral literal, class... TArgs>
[[noreturn]] void Raise(TMessage<literal> message, const TArgs&... args) {
  throw EKBException(FillMessage(message, args...));
}

inline constexpr TMessage<
    "Invalid expert system name, \"%s\", name must not contain any of the following characters:  "
    "'\"#()[]?:$&;<>">
    SInvalidName;
inline constexpr TMessage<
    "Invalid expert system name, \"%s\", name must not contain any of the following characters:  "
    "'\"#()[]:$&;<>">
    SInvalidVariableName;
inline constexpr TMessage<"Invalid File Access Specifier: \"%s\""> SInvalidFileAccess;
inline constexpr TMessage<"No context found when trying to resolve a %s value"> SNoContext;
inline constexpr TMessage<"Expected numeric argument to %s function call"> SMissingNumeric;
inline constexpr TMessage<"Expected component argument to %s function call"> SMissingComponent;
inline constexpr TMessage<"Missing Fuzzy Close Bracket in expression"> SMissingFuzzyCloseBracket;
inline constexpr TMessage<"Expected \"(\""> SMissingOpenParens;
inline constexpr TMessage<"Expected \")\""> SMissingCloseParens;
inline constexpr TMessage<"Invalid string value, string was not terminated"> SUnterminatedString;
inline constexpr TMessage<"Missing catch or finally statement for try block">
    SMissingCatchStatement;
inline constexpr TMessage<"Bad Argument: %s"> SBadArgument;
inline constexpr TMessage<"Bad Variable Name, must start and end with an asterisk: %s">
    SBadVariableName;
inline constexpr TMessage<"Bad Slot Name: %s"> SBadSlotName;
inline constexpr TMessage<"Index does not match fact slot name: %s and %s"> SNoIndexNameMatch;
inline constexpr TMessage<"Bad Slot Value: %s"> SBadSlotValue;
inline constexpr TMessage<"Bad Slot Type"> SBadSlotType;
inline constexpr TMessage<"Bad Value for %s"> SBadValue;
inline constexpr TMessage<"Cannot watch %s"> SCannotWatch;
inline constexpr TMessage<"Cannot unwatch %s"> SCannotUnWatch;
inline constexpr TMessage<"Invalid backward chaining pattern added to the node">
    SInvalidBackchainPattern;
inline constexpr TMessage<"Invalid default slot value: %s"> SInvalidSlotDefault;
inline constexpr TMessage<"Invalid default value for a multislot, must be a multifield: %s">
    SInvalidDefaultMultislotValue;
inline constexpr TMessage<"no types are allowed for multislots"> SInvalidMultiSlotType;
inline constexpr TMessage<"Invalid value for existing slot, slot is not multislot">
    SInvalidExistingSlotChange;
inline constexpr TMessage<"Invalid value for existing slot, multislot is not slot">
    SInvalidExistingMultiSlotChange;
inline constexpr TMessage<"Invalid slot qualifier: %s"> SInvalidSlotQualifier;
inline constexpr TMessage<"\"not\" and \"test\" CEs cannot be bound to variables">
    SInvalidTestBinding;
inline constexpr TMessage<"Invalid Rule Format (%s): %s"> SInvalidRuleFmt;
inline constexpr TMessage<"Invalid substring parameters: %d, %d"> SInvalidSubstrParameters;
inline constexpr TMessage<"Invalid multifield begin and end parameters: %d, %d">
    SInvalidMFParameters;
inline constexpr TMessage<"%s contains unexpected character: \"%c\""> SUnexpectedCharacters;
inline constexpr TMessage<"Invalid object, agenda can only accept TActivation objects">
    SInvalidAgendaItem;
inline constexpr TMessage<"Expected \"=>\""> SExpectedEqGT;
inline constexpr TMessage<"Expected \"( <atom>\""> SExpectedAtom;
inline constexpr TMessage<"There is no conditional element \"%s\""> SNoSuchElement;
inline constexpr TMessage<"Expected value missing"> SExpectedValue;
inline constexpr TMessage<"Expected \"%s\""> SExpectedChar;
inline constexpr TMessage<"Missing keyword.  Expected \"%s\""> SExpectedKeyword;
inline constexpr TMessage<"Slot \"%s\" is not a multislot"> SNotMultiSlot;
inline constexpr TMessage<"Invalid low and high limits specified: %.4f to %.4f">
    SInvalidLowHiLimits;
inline constexpr TMessage<"Expected \"<-\""> SExpectedAssignment;
inline constexpr TMessage<"Expected integer, variable, or function call for %s"> SExpectedIntVarFun;
inline constexpr TMessage<"Expected number, variable, or function call"> SExpectedNumVarFun;
inline constexpr TMessage<"Expected rule property, salience, oneshot, or enabled">
    SExpectedRuleProperty;
inline constexpr TMessage<"Expected \"salience\""> SExpectedSalience;
inline constexpr TMessage<"Expected \"(\", \"extends\", or \"is-a\""> SExpectedExtends;
inline constexpr TMessage<"Expected \"( deffacts\""> SExpectedDeffacts;
inline constexpr TMessage<"Expected \"( deftype\""> SExpectedDefType;
inline constexpr TMessage<"Expected \"( deftemplate\""> SExpectedDefTemplate;
inline constexpr TMessage<"Expected \"( defrule\""> SExpectedDefRule;
inline constexpr TMessage<"Expected \"( deffunction\""> SExpectedDefFunction;
inline constexpr TMessage<"Expected \"( term\""> SExpectedFuzzySet;
inline constexpr TMessage<"Expected \"( defglobal\""> SExpectedDefGlobal;
inline constexpr TMessage<"Nested Not CEs not allowed yet"> SNestedNotCEs;
inline constexpr TMessage<"No such slot in fact template: %s"> SNoSuchSlot;
inline constexpr TMessage<"\"=\" cannot appear as an atom within a fact"> SAtomNotEquals;
inline constexpr TMessage<"Not a %s type.  Value (%s) is a %s type"> SNotCorrectType;
inline constexpr TMessage<"Not in allowed values"> SNotAllowedValue;
inline constexpr TMessage<"Multislot must have between %d and %d elements"> SListCardinalityError;
inline constexpr TMessage<"Range must be between %.4f and %.4f"> SOutOfRangeError;
inline constexpr TMessage<"Slot %s does not contain a %s.  Value Type is %s"> SNotCorrectSlotType;
inline constexpr TMessage<"%s for %s slot"> SInvalidSlotValue;
inline constexpr TMessage<"Value and type mismatch"> SInvalidValueType;
inline constexpr TMessage<"Value \"%s\" is not valid, %s"> SInvalidValue;
inline constexpr TMessage<"invalid fuzzy value"> SInvalidFuzzyValue;
inline constexpr TMessage<"Too few arguments for %s"> STooFewArgs;
inline constexpr TMessage<"Too many arguments for %s"> STooManyArgs;
inline constexpr TMessage<"Corrupted Token, Negated Count is less than 0"> SCorruptedToken;
inline constexpr TMessage<"Corrupted Binding, variable not found: %s"> SCorruptedVariable;
inline constexpr TMessage<"Defined Type Name already exists: \"%s\""> SDuplicateDefTypeNames;
inline constexpr TMessage<"Function Name already exists: \"%s\""> SDuplicateFunctionNames;
inline constexpr TMessage<"Fact Template Name already exists: \"%s\""> SDuplicateTemplateNames;
inline constexpr TMessage<"Duplicate Rules defined with same name: \"%s\""> SDuplicateRuleNames;
inline constexpr TMessage<"Fact Set Name already exists: \"%s\""> SDuplicateFactSetNames;
inline constexpr TMessage<"Duplicate streams defined with same name: \"%s\""> SDuplicateStreamNames;
inline constexpr TMessage<"Cannot add nil to user functions"> SInvalidFunctionAdd;
inline constexpr TMessage<"Cannot bind a negated pattern to a variable"> SInvalidPatternBinding;
inline constexpr TMessage<"Invalid object being added: \"%s\" instead of \"%s\""> SInvalidAddObject;
inline constexpr TMessage<"Invalid argument type for deffunction: \"%s\".  Expected %s">
    SInvalidArgType;
inline constexpr TMessage<"No such slot name: \"%s\""> SInvalidSlotName;
inline constexpr TMessage<"Invalid slot type: %s"> SInvalidSlotType;
inline constexpr TMessage<"Invalid Call Type: %s"> SInvalidCallType;
inline constexpr TMessage<"Invalid Token Action"> SInvalidTokenAction;
inline constexpr TMessage<"Invalid Token hint for parsing token: %s"> SInvalidTokenHint;
inline constexpr TMessage<"Invalid stream name: %s"> SInvalidStreamName;
inline constexpr TMessage<
    "Invalid destruction of pointer reference, reference counting greater than 0">
    SInvalidPtr;
inline constexpr TMessage<"Unknown %s name: %s"> SUnknownName;
inline constexpr TMessage<"Unknown fact template: %s"> SUnknownFactTemplate;
inline constexpr TMessage<"Unknown interface supplied to Rulekit value"> SUnknownValueInterface;
inline constexpr TMessage<"Unable to assign slot values, fact templates are different: %s and %s">
    SFactTemplatesDifferent;
inline constexpr TMessage<"Missing name"> SMissingName;
inline constexpr TMessage<"Missing Fact Template name"> SMissingTemplateName;
inline constexpr TMessage<"Missing Fact Set name"> SMissingDeffactsName;
inline constexpr TMessage<"Missing name of parent template to extend"> SMissingParentTemplateName;
inline constexpr TMessage<"Missing name of type for fact template"> SMissingIsaTypeName;
inline constexpr TMessage<"type name unknown or invalid: %s"> SUnknownTypeName;
inline constexpr TMessage<"Missing name of parent defined type to extend">
    SMissingParentDefinedTypeName;
inline constexpr TMessage<"Missing \"then\" in an IF statement"> SMissingThen;
inline constexpr TMessage<
    "Invalid multifield arguments, the two multifields must be of the same length">
    SMultifieldLengthMismatch;
inline constexpr TMessage<"No Such Fact with ID=%s exists"> SNoSuchFact;
inline constexpr TMessage<"Function is unimplemented or unassigned: %s"> SNoSuchFunction;
inline constexpr TMessage<
    "The %s event has not been implemented or unassigned.\nWarning: Implementation of this "
    "function requires a blocking mechanism, \nsuch as ShowModal, or the use of threads">
    SNoReadFunctionWarning;
inline constexpr TMessage<"Fact Template is missing"> SNoTemplate;
inline constexpr TMessage<"No Rule exists with name: %s"> SNoRule;
inline constexpr TMessage<"Missing Rule cannot be edited"> SMissingRule;
inline constexpr TMessage<"Syntax Error: %s"> SSyntaxError;
inline constexpr TMessage<"Illegal Attempt to change Fact Id"> SCannotChangeID;
inline constexpr TMessage<"Unexpected symbol, expected a \"(\", constant, or global variable: %s">
    SExpectedParenConstVar;
inline constexpr TMessage<"Unknown/Undefined Reasoner"> SUnknownEngine;
inline constexpr TMessage<"Empty fact set property"> SMissingFactSet;
inline constexpr TMessage<"Unknown variable name: %s"> SUnknownVariable;
inline constexpr TMessage<"Invalid variable name, %s.  Possible encoding error"> SEncodingProblem;
inline constexpr TMessage<"Unknown class name: %s"> SUnknownKBClassName;
inline constexpr TMessage<"Unexpected character found: \"%s\""> SUnexpectedCharacter;
inline constexpr TMessage<"Unexpected end of stream"> SUnexpectedEOF;
inline constexpr TMessage<"Function names do not match: %s and %s"> SWrongFunctionName;
inline constexpr TMessage<"First Use of Variable is negated, variable name is %s"> SNegatedVariable;
inline constexpr TMessage<"Parsing Error, %s in %s at line %s: %s"> SParseError;
inline constexpr TMessage<"No parser specified"> SNoParser;
inline constexpr TMessage<"Name is taken by the language: %s"> SReservedName;
inline constexpr TMessage<"template %s is gone"> STemplateIsGone;
inline constexpr TMessage<"type %s is gone"> STypeIsGone;
inline constexpr TMessage<"it does not fit the new type %s"> SDoesNotFitType;
inline constexpr TMessage<"an equal fact is there"> SEqualFactIsThere;
inline constexpr TMessage<"%s\n... and %d more"> SMoreParseErrors;
inline constexpr TMessage<"Errors parsing stream:\n%s"> SMultipleParseError;
inline constexpr TMessage<"Unable to parse strings of %s at this time"> SParseTypeError;
inline constexpr TMessage<"Cannot backchain on special CEs: %s"> SBackChainCE;
inline constexpr TMessage<"Cannot use Function calls in backchained patterns: %s">
    SBackChainFuncallPatterns;
inline constexpr TMessage<"Defined Type %s does not have %s constraints"> SNoSuchConstraint;
inline constexpr TMessage<"Defined Type %s cannot contain %s constraint types"> SInvalidConstraint;
inline constexpr TMessage<"Uncloneable value.  Value owned an object of %s class type">
    SUncloneableValue;
inline constexpr TMessage<"Empty base type for defined type not allowed"> SEmptyBaseTypes;
inline constexpr TMessage<"Cannot mix fuzzy type with other primitive types"> SCannotMixFuzzy;
inline constexpr TMessage<"Missing range statement"> SMissingRange;
inline constexpr TMessage<"The %s from %s to %s is empty"> SEmptyBounds;
inline constexpr TMessage<"The range of a fuzzy type needs two different ends, received %s and %s">
    SFuzzyRangePoint;
inline constexpr TMessage<"Missing fuzzy set \"values\" statement"> SMissingFuzzySetValues;
inline constexpr TMessage<"Expected allowed value argument for deftype, received %s">
    SMissingAllowedEnumeration;
inline constexpr TMessage<"Type inheritance loop detected, %s type cannot be an ancestor of itself">
    STypeInheritanceLoop;
inline constexpr TMessage<"Multiple inheritance is not allowed for deftypes">
    SNoMultiTypeInheritance;
inline constexpr TMessage<"Fact templates inheritance structure corrupted">
    SFactTemplateInheritanceCorrupt;
inline constexpr TMessage<"Defined type not valid for database field of type: %s"> SDBTypeMismatch;
inline constexpr TMessage<"Fields that are Multislots must be of type string">
    SDBMultiSlotNotString;
inline constexpr TMessage<"Defined types inheritance structure corrupted"> STypeInheritanceCorrupt;
inline constexpr TMessage<"Missing fuzzy operand to be modified by hedge: %s"> SMissingFuzzyOperand;
inline constexpr TMessage<"Invalid item in fuzzy expression: %s"> SInvalidFuzzyToken;
inline constexpr TMessage<"Fuzzy Type Definition needed to parse value"> SNeedFuzzyType;
inline constexpr TMessage<
    "Fuzzy variables are different, %s is a term from %s and %s is a term from %s">
    SDifferentFuzzyVariables;
inline constexpr TMessage<"Cannot union two facts with different fact templates: %s and %s">
    SInvalidFuzzyUnionTemplate;
inline constexpr TMessage<"the term %s is defined twice, the later one counts"> SFuzzyTermTwice;
inline constexpr TMessage<"the term %s is highest outside of the range, %.4f to %.4f">
    SFuzzyTermOutside;
inline constexpr TMessage<"%s is outside of the range of %s, %.4f to %.4f"> SFuzzyReadingOutside;
inline constexpr TMessage<"the arguments of %s are not in order"> SFuzzyShapeOrder;
inline constexpr TMessage<"Fact is not a fuzzy fact"> SNotFuzzyFact;
inline constexpr TMessage<"Invalid Fuzzy Correlation specified (%s), expected %s">
    SInvalidFuzzyCorrelation;
inline constexpr TMessage<"Invalid Fuzzy Inference specified (%s), expected %s">
    SInvalidFuzzyInference;
inline constexpr TMessage<"Invalid Fuzzy operation specified (%s) for %s, expected %s">
    SInvalidKBFuzzyOperation;
inline constexpr TMessage<"Invalid Fuzzy Expression: %s"> SInvalidFuzzyExpression;
inline constexpr TMessage<"fuzzy variable is not defined"> SUndefinedFuzzyVariable;
inline constexpr TMessage<
    "Invalid attempt to modify fuzzy type in fact template slot, fuzzy types cannot be modified">
    SFuzzyDefinitionError;
inline constexpr TMessage<" for pattern match = "> SPatternMatchError;
inline constexpr TMessage<" in rule %s, pattern %s, facts %s"> SInMatch;

// Texts of this system's own, beside those above.
inline constexpr TMessage<"%s error: %s"> SFunctionError;
inline constexpr TMessage<"List index out of bounds (%d)"> SListIndexError;
inline constexpr TMessage<"Shared constant cannot be changed: %s"> SSharedConstant;
inline constexpr TMessage<"Network is busy: %s"> SNetworkBusy;
inline constexpr TMessage<"Unknown setting: %s, expected %s or %s"> SUnknownSetting;
inline constexpr TMessage<"Division by zero in %s function call"> SDivisionByZero;
inline constexpr TMessage<"Invalid argument for %s function call: %s"> SInvalidArgument;
inline constexpr TMessage<"Invalid payment time: %s"> SInvalidPaymentTime;
inline constexpr TMessage<"Floating point overflow in %s function call"> SFloatOverflow;
inline constexpr TMessage<"Integer overflow in %s function call: %s"> SIntegerOverflow;
inline constexpr TMessage<"Invalid format: %s"> SInvalidFormat;
inline constexpr TMessage<"Nested too deeply: %s"> SNestedTooDeeply;
inline constexpr TMessage<"Execution was interrupted"> SInterrupted;
inline constexpr TMessage<"Execution was interrupted inside the firing of rule %s">
    SInterruptedFiring;
inline constexpr TMessage<"Execution was interrupted inside a match"> SInterruptedMatch;
inline constexpr TMessage<" in fact set %s"> SInFactSet;
inline constexpr TMessage<"Unknown Type (%d)"> SUnknownType;
inline constexpr TMessage<"The next fact id would be beyond its range"> SFactIdsExhausted;
inline constexpr TMessage<"Invalid class of stream for %s"> SInvalidStreamClass;
inline constexpr TMessage<"\"%s\" is not a valid %s"> SInvalidDateTime;
inline constexpr TMessage<"Class name already exists: \"%s\""> SDuplicateClassNames;
inline constexpr TMessage<"Expected the end of the text: %s"> SExpectedEnd;
inline constexpr TMessage<"No %s was given"> SNothingGiven;
inline constexpr TMessage<"%s belongs to another engine"> SForeignObject;
inline constexpr TMessage<"%s belongs to another rule"> SForeignPattern;
inline constexpr TMessage<"Expected a variable, received %s"> SNoVariable;
inline constexpr TMessage<"A salience cannot be %s"> SInvalidSalience;
inline constexpr TMessage<"A test element holds one function call and nothing else">
    SInvalidTestPattern;
inline constexpr TMessage<"A fact in the fact list cannot be changed: %s"> SListedFact;
inline constexpr TMessage<"A value of a fact in the fact list cannot be changed: %s"> SListedValue;

// The object that a counted reference, an owning pointer or a plain pointer points to; `what` names
// it where nothing was given.
template <class TPointer>
auto& Given(const TPointer& pointer, std::string_view what) {
  if (pointer == nullptr) Raise(SNothingGiven, what);
  return *pointer;
}

}  // namespace reasoner
