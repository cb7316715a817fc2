#include "reasoner/library/Packages.h"

#include "reasoner/library/Families.h"

namespace reasoner {

TStandardPackage::TStandardPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TStandardPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddLogicFunctions(GetFunctions());
  AddCompareFunctions(GetFunctions());
  AddControlFunctions(GetFunctions());
  AddFactFunctions(GetFunctions());
  AddStorageFunctions(GetFunctions());
  AddEngineFunctions(GetFunctions());
  AddMultifieldFunctions(GetFunctions());
  AddIOFunctions(GetFunctions());
  AddFileFunctions(GetFunctions());
}

TMiscPackage::TMiscPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TMiscPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddListingFunctions(GetFunctions());
  AddConstructFunctions(GetFunctions());
  AddSystemFunctions(GetFunctions());
  AddDateFunctions(GetFunctions());
  AddDialogFunctions(GetFunctions());
}

TObjectPackage::TObjectPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TObjectPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddObjectFunctions(GetFunctions());
}

TPredicatePackage::TPredicatePackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TPredicatePackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddPredicateFunctions(GetFunctions());
}

TMathPackage::TMathPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TMathPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddMathFunctions(GetFunctions());
}

TStringPackage::TStringPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TStringPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddStringFunctions(GetFunctions());
}

TTrigonometryPackage::TTrigonometryPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TTrigonometryPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddTrigonometryFunctions(GetFunctions());
}

TBusinessPackage::TBusinessPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TBusinessPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddBusinessFunctions(GetFunctions());
}

TFuzzyLogicPackage::TFuzzyLogicPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TFuzzyLogicPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFuzzyValueFunctions(GetFunctions());
  AddFuzzySettingFunctions(GetFunctions());
  AddFuzzyReadoutFunctions(GetFunctions());
  AddFuzzyShapeFunctions(GetFunctions());
}

TExtensionPackage::TExtensionPackage(TComponent* owner) : TUserPackage(owner) { Rebuild(); }

void TExtensionPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddRunSettingFunctions(GetFunctions());
}

// A new package, which the component owns.
TUserPackage* MakePackage(TFunctionPackage package, TComponent* engine) {
  switch (package) {
    case pStandard:
      return new TStandardPackage(engine);
    case pPredicate:
      return new TPredicatePackage(engine);
    case pMath:
      return new TMathPackage(engine);
    case pMiscellaneous:
      return new TMiscPackage(engine);
    case pString:
      return new TStringPackage(engine);
    case pTrigonometry:
      return new TTrigonometryPackage(engine);
    case pBusiness:
      return new TBusinessPackage(engine);
    case pObject:
      return new TObjectPackage(engine);
    case pFuzzyLogic:
      return new TFuzzyLogicPackage(engine);
  }
  return nullptr;
}

}  // namespace reasoner
