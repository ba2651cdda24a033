#include "bus/bus_token.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace bus {
namespace {

constexpr std::size_t LEAST = 16;
constexpr std::size_t MOST = 128;
constexpr mode_t OF_OTHERS = 077;

[[noreturn]] void RefuseToken(const std::string& file, const std::string& why) {
  throw std::runtime_error("the bus token file " + file + " " + why +
                           "; make one with: (umask 077; head -c 24 /dev/urandom | base64 > FILE)");
}

bool IsTokenCharacter(char character) {
  constexpr std::string_view MARKS = "-_.~+/=";
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z') || MARKS.find(character) != std::string_view::npos;
}

}  // namespace

std::string ReadBusToken(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) RefuseToken(file, std::string("cannot be read: ") + strerror(errno));
  if (status.st_uid != geteuid()) RefuseToken(file, "belongs to another user");
  if ((status.st_mode & OF_OTHERS) != 0) RefuseToken(file, "is open to other users (mode 0600 is required)");
  std::string token;
  std::getline(std::ifstream(file), token);
  if (token.size() < LEAST || token.size() > MOST || !std::ranges::all_of(token, IsTokenCharacter)) {
    RefuseToken(file, "holds no token (16 to 128 letters, digits and -_.~+/=)");
  }
  return token;
}

std::string FormatTokenMessage(std::string_view token) {
  return "< token " + std::string(token) + " >";
}

bool IsSameToken(std::string_view token, std::string_view presented) {
  if (token.size() != presented.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < token.size(); ++i) {
    difference |=
        static_cast<unsigned char>(token[i]) ^ static_cast<unsigned>(static_cast<unsigned char>(presented[i]));
  }
  return difference == 0;
}

}  // namespace bus
