// The packages of built-in functions. An engine makes those of its `Packages` for itself; a host
// may make one, too, and tie it to engines of its choice.

#pragma once

#include <string>

#include "reasoner/functions/UserPackage.h"

namespace reasoner {

// Facts, control, comparison, storage, the engine, lists, input and output.
class TStandardPackage : public TUserPackage {
 public:
  explicit TStandardPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TStandardPackage"; }

 protected:
  void CreateFunctions() override;
};

// Listing, removing and asking for constructs; settings, dates and dialogs.
class TMiscPackage : public TUserPackage {
 public:
  explicit TMiscPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TMiscPackage"; }

 protected:
  void CreateFunctions() override;
};

// The host's classes and objects.
class TObjectPackage : public TUserPackage {
 public:
  explicit TObjectPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TObjectPackage"; }

 protected:
  void CreateFunctions() override;
};

// Tests of a value's type.
class TPredicatePackage : public TUserPackage {
 public:
  explicit TPredicatePackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TPredicatePackage"; }

 protected:
  void CreateFunctions() override;
};

// Arithmetic.
class TMathPackage : public TUserPackage {
 public:
  explicit TMathPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TMathPackage"; }

 protected:
  void CreateFunctions() override;
};

// Strings and atoms.
class TStringPackage : public TUserPackage {
 public:
  explicit TStringPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TStringPackage"; }

 protected:
  void CreateFunctions() override;
};

// Angles, circular and hyperbolic functions, distances.
class TTrigonometryPackage : public TUserPackage {
 public:
  explicit TTrigonometryPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TTrigonometryPackage"; }

 protected:
  void CreateFunctions() override;
};

// Interest, annuities, cash flows, depreciation.
class TBusinessPackage : public TUserPackage {
 public:
  explicit TBusinessPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TBusinessPackage"; }

 protected:
  void CreateFunctions() override;
};

// What the built-in packages do not have: a host installs it with `new TExtensionPackage(&engine)`,
// as the console does. An engine has none of its own accord.
class TExtensionPackage : public TUserPackage {
 public:
  explicit TExtensionPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TExtensionPackage"; }

 protected:
  void CreateFunctions() override;
};

// Fuzzy values, the settings of fuzzy reasoning, defuzzification and plots.
class TFuzzyLogicPackage : public TUserPackage {
 public:
  explicit TFuzzyLogicPackage(TComponent* owner = nullptr);
  std::string ClassName() const override { return "TFuzzyLogicPackage"; }

 protected:
  void CreateFunctions() override;
};

}  // namespace reasoner
