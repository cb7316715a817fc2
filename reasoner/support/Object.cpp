#include "reasoner/support/Object.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <typeinfo>

#include "reasoner/support/Exception.h"
#include "reasoner/support/Format.h"

namespace reasoner {

namespace {

// The part behind the last "::" that is not inside template arguments or a function's parameters.
std::string_view WithoutScopes(std::string_view name) {
  int nested = 0;
  for (std::size_t index = name.size(); index-- > 0;) {
    const char character = name[index];
    if (character == '>' || character == ')') ++nested;
    if (character == '<' || character == '(') --nested;
    if (nested == 0 && character == ':') return name.substr(index + 1);
  }
  return name;
}

}  // namespace

std::string TObject::ClassName() const {
  const char* const mangled = typeid(*this).name();
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), std::free);
  return std::string(WithoutScopes(status == 0 ? name.get() : mangled));
}

void TPersistent::Assign(const TPersistent& source) {
  throw EKitException(FormatText("Cannot assign a %s to a %s", {source.ClassName(), ClassName()}));
}

}  // namespace reasoner
