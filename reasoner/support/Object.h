// The plain roots of the class tree: an object that can name and print itself, and one that can
// take over another.

#pragma once

#include <memory>
#include <string>

namespace reasoner {

class TObject {
 public:
  TObject() = default;
  TObject(const TObject&) = delete;
  TObject& operator=(const TObject&) = delete;
  virtual ~TObject() = default;

  // The class's own name, without its namespace.
  virtual std::string ClassName() const;
  virtual std::string ToString() const { return ClassName(); }
};

class TPersistent : public TObject {
 public:
  // Takes over the content of `source`. Raises EKitException for a class that cannot be taken over.
  virtual void Assign(const TPersistent& source);
  // A new, empty object of the same class, for copies; null for a class that cannot be copied.
  virtual std::unique_ptr<TPersistent> NewInstance() const { return nullptr; }
};

}  // namespace reasoner
