// TSingletonsVector: points written as pairs, the unevaluated form of a fuzzy set; the payload of a
// dtSingletons cell.

#pragma once

#include <cstdint>
#include <string>

#include "reasoner/values/ValueVector.h"

namespace reasoner {

// Two parallel lists of cells, x and y, always of the same length.
class TSingletonsVector final : public ICloneable {
 public:
  // The engine, if any, prints the vector as long as it lives.
  explicit TSingletonsVector(IReasoner* reasoner = nullptr);

  std::int32_t GetCount() const noexcept { return x_->GetValueCount(); }
  const Ref<IKBValue>& GetXValue(std::int32_t index) const { return x_->GetItem(index); }
  const Ref<IKBValue>& GetYValue(std::int32_t index) const { return y_->GetItem(index); }
  void SetXValue(std::int32_t index, const Ref<IKBValue>& value) { x_->SetItem(index, value); }
  void SetYValue(std::int32_t index, const Ref<IKBValue>& value) { y_->SetItem(index, value); }
  void Add(const Ref<IKBValue>& x, const Ref<IKBValue>& y);
  void Insert(std::int32_t index, const Ref<IKBValue>& x, const Ref<IKBValue>& y);
  void Delete(std::int32_t index);
  void Append(const TSingletonsVector& source);
  void Clear();
  std::int32_t IndexOfX(const IKBValue& value) const { return x_->IndexOf(value); }
  std::int32_t IndexOfY(const IKBValue& value) const { return y_->IndexOf(value); }

  IReasoner* GetParser() const noexcept { return parser_ ? parser_->engine : nullptr; }
  void SetParser(IReasoner* reasoner);
  std::int32_t GetTag() const noexcept { return tag_; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  // The points are a listed fact's: changing them raises from now on.
  void Freeze() override;
  void Assign(const TSingletonsVector& source);
  Ref<ISingletonsVector> Clone() const;
  bool Equals(const ICloneable& other) const override;
  std::uint32_t GetHashCode() const override;
  // "(x y) " for each point; with a parser, the parser's form.
  std::string ToString() const override;

 private:
  std::int32_t tag_ = 0;
  Ref<IValueVector> x_;
  Ref<IValueVector> y_;
  Ref<TReasonerLink> parser_;
};

}  // namespace reasoner
