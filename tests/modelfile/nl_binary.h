#pragma once

#include <string>

/// The binary variant of a text .nl file in either byte order.
std::string binaryOf(const std::string& text, bool bigEndian);
