#pragma once
/// Class header for authors of algorithms: messages that the compiler puts together from their parts.

#include <string_view>

/// The text of a message, null-terminated. Held in a constant, it lives as long as the exceptions that point to it.
struct TavMessage {
  char text[112] = {};  ///< The characters, and a zero behind them.
};

/// The parts, one behind the other. Text that does not fit does not compile.
template <class... Parts>
consteval TavMessage TavJoin(const Parts&... parts) {
  TavMessage message;
  std::size_t size = 0;
  const auto append = [&](std::string_view part) {
    for (const char c : part) message.text[size++] = c;
  };
  (append(parts), ...);
  if (message.text[sizeof message.text - 1]) throw "too long";
  return message;
}
