#include "reasoner/support/Text.h"

#include <limits>

#include "reasoner/support/Exception.h"

namespace reasoner {

Text::Rep* Text::NewRep(std::string_view text) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw EKBException("The text is too long");
  }
  void* const place = ::operator new(sizeof(Rep) + text.size());
  Rep* const rep = new (place) Rep;
  rep->size = static_cast<std::uint32_t>(text.size());
  std::memcpy(Characters(rep), text.data(), text.size());
  return rep;
}

}  // namespace reasoner
