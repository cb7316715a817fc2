// The shared vocabulary: enumerations and the sets over them, with the names that messages and
// listings show, and the names that have a fixed meaning.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "reasoner/support/Set.h"

namespace reasoner {

// A type whose members' names are shown is listed once, with its names.
// The ordinals count from 0 in the order of the list.

// The kinds of value that a cell can hold.
#define REASONER_KB_TYPES(member)                                                         \
  member(dtNone) member(dtAtom) member(dtString) member(dtInteger) member(dtVariable)     \
      member(dtFactId) member(dtFloat) member(dtFunCall) member(dtFact) member(dtList)    \
          member(dtDescriptor) member(dtObject) member(dtClass) member(dtExternalAddress) \
              member(dtSingletons) member(dtFuzzy) member(dtMultiVariable) member(dtSlot) \
                  member(dtMultiSlot)
// What a token does as it travels the network.
#define REASONER_TOKEN_ACTIONS(member) \
  member(taClear) member(taAdd) member(taRemove) member(taUpdate)
// The door by which a network node is entered.
#define REASONER_CALL_TYPES(member) \
  member(ctLeft) member(ctRight) member(ctSingle) member(ctActivate)
// Whether a slot holds one value or many.
#define REASONER_SLOT_KINDS(member) member(tstSlot) member(tstMultiSlot)

#define REASONER_LIST_MEMBER(name) name,
#define REASONER_LIST_NAME(name) #name,

enum TKBType : std::uint8_t { REASONER_KB_TYPES(REASONER_LIST_MEMBER) };
inline constexpr std::array kKBTypeNames{
    std::to_array<std::string_view>({REASONER_KB_TYPES(REASONER_LIST_NAME)})};
enum TTokenAction : std::uint8_t { REASONER_TOKEN_ACTIONS(REASONER_LIST_MEMBER) };
inline constexpr std::array kTokenActionNames{
    std::to_array<std::string_view>({REASONER_TOKEN_ACTIONS(REASONER_LIST_NAME)})};
enum TCallType : std::uint8_t { REASONER_CALL_TYPES(REASONER_LIST_MEMBER) };
inline constexpr std::array kCallTypeNames{
    std::to_array<std::string_view>({REASONER_CALL_TYPES(REASONER_LIST_NAME)})};
enum TTemplateSlotType : std::uint8_t { REASONER_SLOT_KINDS(REASONER_LIST_MEMBER) };
inline constexpr std::array kTemplateSlotTypeNames{
    std::to_array<std::string_view>({REASONER_SLOT_KINDS(REASONER_LIST_NAME)})};

#undef REASONER_LIST_MEMBER
#undef REASONER_LIST_NAME
#undef REASONER_KB_TYPES
#undef REASONER_TOKEN_ACTIONS
#undef REASONER_CALL_TYPES
#undef REASONER_SLOT_KINDS

inline constexpr std::size_t kKBTypeCount = kKBTypeNames.size();
static_assert(kKBTypeCount == 19 && dtMultiSlot == kKBTypeCount - 1);

// The member's name, such as "dtAtom".
constexpr std::string_view GetKBTypeName(TKBType type) { return kKBTypeNames[type]; }

enum TValueConstraint : std::uint8_t { vcAtom, vcString, vcInteger, vcFloat };
// Constraints are checked when text is parsed, when values are set at run time.
enum TTypeCheck : std::uint8_t { tcStatic, tcDynamic };
// What adding a construct of a name in use does.
enum TDuplicateConstructs : std::uint8_t { dcOverwrite, dcIgnore, dcError };
enum TErrorHandling : std::uint8_t { ehRaiseImmediate, ehRaiseAllAtEnd };
// When a rule's salience is evaluated anew.
enum TSalience : std::uint8_t { sActivate, sEveryTime };
enum TRuleConstruct : std::uint8_t { rcPattern, rcAction };
// The agenda's order among activations of equal salience.
enum TSearchStrategy : std::uint8_t { ssDepthFirst, ssBreadthFirst };
enum TConstructWatch : std::uint8_t { cwActivation, cwFact, cwRule, cwCompilation, cwStatistics };
// What a top-level expression turned out to be.
enum TParsedType : std::uint8_t {
  ptNone,
  ptValue,
  ptFunCall,
  ptRule,
  ptFactSet,
  ptFactTemplate,
  ptFunction,
  ptGlobals,
  ptDefType,
  ptEOF
};
enum TSlotTestType : std::uint8_t { sttEquals, sttNotEquals };
enum TFunctionPackage : std::uint8_t {
  pStandard,
  pPredicate,
  pMath,
  pMiscellaneous,
  pString,
  pObject,
  pTrigonometry,
  pBusiness,
  pFuzzyLogic
};
// Vocabulary for a host's own dialogs, actions and views; the engine makes no use of it.
enum TKBDialogOption : std::uint8_t { doNew, doOpen, doSave, doSaveAs, doPrint, doPrintSetup };
enum TValidAction : std::uint8_t {
  vaFileNew,
  vaFileOpen,
  vaFileSave,
  vaFileSaveAs,
  vaEditTypes,
  vaEditFacts,
  vaEditFactTemplates,
  vaEditRules,
  vaKBRun,
  vaKBRunOneStep,
  vaKBReset,
  vaFileView
};
enum TValidView : std::uint8_t { vvAgenda, vvFacts, vvFactTemplates, vvRules };

// How lists that own or register items report a change.
enum TListNotification : std::uint8_t { lnAdded, lnExtracted, lnDeleted };

using TTypeChecks = Set<TTypeCheck>;
using TKBTypes = Set<TKBType>;
using TValueConstraints = Set<TValueConstraint>;
using TConstructWatches = Set<TConstructWatch>;
using TFunctionPackages = Set<TFunctionPackage>;
using TKBDialogOptions = Set<TKBDialogOption>;
using TValidActions = Set<TValidAction>;
using TValidViews = Set<TValidView>;
using TKBName = std::string;

inline constexpr TConstructWatches kAllWatches{cwActivation, cwFact, cwRule, cwCompilation,
                                               cwStatistics};
inline constexpr TFunctionPackages kAllPackages{pStandard,      pPredicate, pMath,
                                                pMiscellaneous, pString,    pObject,
                                                pTrigonometry,  pBusiness,  pFuzzyLogic};

inline constexpr TKBTypes KBStringTypes{dtAtom,          dtString, dtVariable,
                                        dtMultiVariable, dtSlot,   dtMultiSlot};
inline constexpr TKBTypes KBNumericTypes{dtInteger, dtFloat};
// The number of a fact: -1 for one that is not in a fact base.
using TFactId = std::int64_t;

inline constexpr TKBTypes KBIntegerTypes{dtInteger, dtFactId, dtDescriptor};
inline constexpr TKBTypes KBFactTypes{dtInteger, dtFactId, dtFloat};
inline constexpr TKBTypes KBVariableTypes{dtVariable, dtMultiVariable};
inline constexpr TKBTypes KBAlwaysValidTypes{dtNone, dtVariable, dtFunCall, dtMultiVariable};
inline constexpr TKBTypes KBMultiSlotTypes{dtList, dtMultiSlot};
inline constexpr TKBTypes KBSlotTypes{dtAtom,       dtString, dtInteger, dtVariable,
                                      dtFactId,     dtFloat,  dtFunCall, dtFact,
                                      dtDescriptor, dtObject, dtClass,   dtExternalAddress};
inline constexpr TKBTypes KBSlotTypesWithFuzzy = KBSlotTypes + TKBTypes{dtSingletons, dtFuzzy};
inline constexpr TKBTypes KBReparseTypes{dtFunCall, dtFact, dtFuzzy};

// The members' names in ordinal order without their prefix ("Atom"), joined, in square brackets if
// wanted.
std::string SetToString(TKBTypes types, std::string_view separator, bool brackets);

inline constexpr std::string_view SFactPrefix = "__factidx";
inline constexpr std::string_view SEqStarPrefix = "_eq_";
inline constexpr std::string_view SBackChainPrefix = "need-";
inline constexpr std::string_view SBlankMulti = "_blank_$";
inline constexpr std::string_view SBlankPrefix = "_blank_";
inline constexpr std::string_view SGeneratedAtomPrefix = "gen";
inline constexpr std::string_view SDefaultSlotName = "__Data";
inline constexpr std::string_view STestCE = "test";
inline constexpr std::string_view SLocalBinding = "__LOCAL";
inline constexpr std::string_view SPatternBinding = "__PATTERN";
inline constexpr std::string_view SRuleBinding = "__RULE";
inline constexpr std::string_view SInitialFactPattern = "Initial-Fact";
inline constexpr std::string_view SInitialFact = "(Initial-Fact)";
inline constexpr std::string_view SNullFact = "__NOT-OR-TEST-CE*";
inline constexpr std::string_view SMultiSlotVar = "$?__var";
inline constexpr std::string_view SSlotVar = "?__var";
inline constexpr std::string_view CommentFormat = "%s";
inline constexpr std::string_view SyntaxFormat = "     syntax: %s";
inline constexpr std::string_view CLIPSSyntaxFormat = "(%s)";
inline constexpr std::string_view SImplicitDefinedType = "implicit";
inline constexpr std::int32_t DefaultPrintMargin = 200;
inline constexpr std::int32_t NoSubIndex = -1;
inline constexpr std::int32_t LocalBindingIndex = -2;
// The variable that holds the message of a caught failure.
inline constexpr std::string_view SErrorBinding = "__ERROR";
inline constexpr std::string_view SImpliedComment = "(Implied)";

// The words of a type clause, as they are read and written.
inline constexpr std::string_view STypeSymbolKeyword = "SYMBOL";
inline constexpr std::string_view STypeAtomKeyword = "ATOM";
inline constexpr std::string_view STypeStringKeyword = "STRING";
inline constexpr std::string_view STypeIntegerKeyword = "INTEGER";
inline constexpr std::string_view STypeFloatKeyword = "FLOAT";
inline constexpr std::string_view STypeLexemeKeyword = "LEXEME";
inline constexpr std::string_view STypeNumberKeyword = "NUMBER";
inline constexpr std::string_view STypeClassKeyword = "CLASS";
inline constexpr std::string_view STypeDescriptorKeyword = "DESCRIPTOR";
inline constexpr std::string_view STypeObjectKeyword = "OBJECT";
inline constexpr std::string_view STypeExternalAddrKeyword = "EXTERNALADDRESS";
inline constexpr std::string_view STypeFuzzyKeyword = "FUZZY";
inline constexpr std::string_view STypeFactKeyword = "FACT";
inline constexpr std::string_view STypeFactIdKeyword = "FACTID";
inline constexpr std::string_view STypeVariableKeyword = "?VARIABLE";

// The characters that no name of a slot, template or rule may hold.
inline constexpr std::string_view kForbiddenNameCharacters = " '\"#()[]?:$&;<>";
// Raises "%s contains unexpected character: "%c"" for a name that the language could not read back.
void CheckConstructName(std::string_view name);

}  // namespace reasoner
