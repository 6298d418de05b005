// Decimal numbers in texts of configuration.
//
// Threads: any; no state. Errors: unset for what is no number.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The whole text, blanks around it allowed: digits, 0 to 4294967295.
std::optional<std::uint32_t> ParseDecimal(std::string_view text);
// As a settings reader of the system takes it: leading white space, sign, digits, and the rest is
// ignored. Beyond 32 bits gives 4294967295; a minus wraps modulo 2 to the 32nd.
std::optional<std::uint32_t> ParseLeadingDecimal(std::string_view text);
