// Not for hosts: the families of built-in functions. Each adds a new object of each of its
// functions, in the order in which listings of the package show them. The functions themselves are
// known to their family's source alone.

#pragma once

namespace reasoner {

class TUserFunctionList;

void AddLogicFunctions(TUserFunctionList& functions);
void AddCompareFunctions(TUserFunctionList& functions);
void AddControlFunctions(TUserFunctionList& functions);
void AddFactFunctions(TUserFunctionList& functions);
void AddStorageFunctions(TUserFunctionList& functions);
void AddEngineFunctions(TUserFunctionList& functions);
void AddMultifieldFunctions(TUserFunctionList& functions);
void AddIOFunctions(TUserFunctionList& functions);
void AddFileFunctions(TUserFunctionList& functions);
void AddMathFunctions(TUserFunctionList& functions);
void AddPredicateFunctions(TUserFunctionList& functions);
void AddStringFunctions(TUserFunctionList& functions);
void AddTrigonometryFunctions(TUserFunctionList& functions);
void AddBusinessFunctions(TUserFunctionList& functions);
void AddListingFunctions(TUserFunctionList& functions);
void AddConstructFunctions(TUserFunctionList& functions);
void AddSystemFunctions(TUserFunctionList& functions);
void AddDateFunctions(TUserFunctionList& functions);
void AddDialogFunctions(TUserFunctionList& functions);
void AddObjectFunctions(TUserFunctionList& functions);
void AddFuzzyValueFunctions(TUserFunctionList& functions);
void AddFuzzySettingFunctions(TUserFunctionList& functions);
void AddFuzzyReadoutFunctions(TUserFunctionList& functions);
void AddFuzzyShapeFunctions(TUserFunctionList& functions);
// Extensions.
void AddRunSettingFunctions(TUserFunctionList& functions);

}  // namespace reasoner
