// Where the servers of a running unit listen: each has a file in the runtime directory that says so.
#pragma once

#include <string>

namespace base {

constexpr const char* BUS_ADDRESS_FILE = "socketcand.address";  // the local bus
constexpr const char* PANEL_ADDRESS_FILE = "http.address";      // the front panel
constexpr const char* HOST_ADDRESS_FILE = "hx7.address";        // the host simulator

// What the file says, such as "127.0.0.1:8740"; empty where the server does not run.
std::string ReadAddressFile(const char* file);
// False when it cannot be written.
bool WriteAddressFile(const char* file, const std::string& address);
void RemoveAddressFile(const char* file);

}  // namespace base
