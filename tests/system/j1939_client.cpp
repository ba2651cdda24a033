// A client of the J1939 service for tests of multi-packet messages on a kernel's bus.
//
//   j1939_client listen IDENTIFIER      prints "listening", then the data of the first such message
//   j1939_client send IDENTIFIER DATA   sends one message
//
// Identifier and data are hexadecimal.
#include <iostream>
#include <string>
#include <vector>

#include "platform/byte_order.h"

#include "src/core/console.h"
#include "src/hostlink/j1939_external.h"

namespace {

constexpr unsigned PORT = 1;
constexpr unsigned ANY_PRIORITY = 0x03FFFFFF;

std::vector<std::uint8_t> FromHex(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

int Listen(NM::NMClient& client, int service, unsigned identifier) {
  const std::string name = "TestMultipacketChannel";
  client.subscribe(client.registerName(name.c_str()));
  std::vector<char> message(J1939_MESSAGE_SIZE + name.size());
  J1939External::setMultipacketFilter(identifier, ANY_PRIORITY, PORT, name, message.data());
  if (client.sendMsg(service, message.data(), static_cast<int>(message.size())) < 0) return 1;
  std::cout << "listening" << std::endl;
  std::vector<std::uint8_t> received(NM_MESSAGE_SIZE);
  int channel = -1;
  const int size =
      client.recvMsg(channel, reinterpret_cast<char*>(received.data()), static_cast<int>(received.size()));
  if (size < static_cast<int>(J1939_DATA_AT)) return 1;
  const std::uint32_t length = platform::LoadLe32(received, J1939_DATA_LENGTH_AT);
  for (std::size_t i = 0; i < length && J1939_DATA_AT + i < received.size(); ++i)
    std::cout << HexText(received[J1939_DATA_AT + i], 2);
  std::cout << std::endl;
  return 0;
}

int Send(NM::NMClient& client, int service, unsigned identifier, const std::string& data) {
  const std::vector<std::uint8_t> bytes = FromHex(data);
  std::vector<char> message(J1939_MESSAGE_SIZE);
  J1939External::sendMultipacketMsg(identifier, static_cast<unsigned>(bytes.size()), PORT, bytes.data(),
                                    message.data());
  return client.sendMsg(service, message.data(), static_cast<int>(message.size())) < 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::vector<std::string> arguments(argv, argv + argc);
  if (arguments.size() < 3 || (arguments[1] == "send") != (arguments.size() == 4)) return 2;
  NM::NMClient client;
  const int service = client.registerName(J1939_CHANNEL_NAME);
  const auto identifier = static_cast<unsigned>(std::stoul(arguments[2], nullptr, 16));
  return arguments[1] == "listen" ? Listen(client, service, identifier)
                                  : Send(client, service, identifier, arguments[3]);
}
