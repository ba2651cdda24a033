// The token of a bus: a secret that a station on TCP presents before it opens the bus. Other users of the
// machine can reach the loopback too, but cannot read the file that holds the token.
#pragma once

#include <string>
#include <string_view>

namespace bus {

// The first line of the file: 16 to 128 letters, digits and "-_.~+/=". Throws std::runtime_error with the
// problem and what to do about it, also where another user could read or write the file.
std::string ReadBusToken(const std::string& file);

// The message with which a station presents it: "< token TEXT >".
std::string FormatTokenMessage(std::string_view token);

// Compares in a time that does not depend on how much of the text is right.
bool IsSameToken(std::string_view token, std::string_view presented);

}  // namespace bus
