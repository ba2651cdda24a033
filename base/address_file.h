// Where the servers of a running unit listen. Each server writes its address into a file of the runtime
// directory.
#pragma once

#include <stdexcept>
#include <string>

namespace base {

// There is no runtime directory, or another user could reach into it; the text says which and what to do.
class RuntimeFolderError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

constexpr const char* BUS_ADDRESS_FILE = "socketcand.address";  // the local bus
constexpr const char* BUS_SOCKET_FILE = "bus.socket";           // the local bus too, a socket and no text
constexpr const char* PANEL_ADDRESS_FILE = "http.address";      // the front panel
constexpr const char* HOST_ADDRESS_FILE = "hx7.address";        // the host simulator

// The path of such a file. Throws RuntimeFolderError.
std::string RuntimePath(const char* file);

// The address in the file, such as "127.0.0.1:8740"; empty where the server does not run.
std::string ReadAddressFile(const char* file);
// False when the file cannot be written.
bool WriteAddressFile(const char* file, const std::string& address);
void RemoveAddressFile(const char* file);

}  // namespace base
