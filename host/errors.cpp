#include "host/errors.h"

#include <ostream>

void TavException::print(std::ostream& os) const { os << what(); }

const char* TavException::what() const noexcept {
  const char* message = getMessage();
  return message ? message : describe();
}
