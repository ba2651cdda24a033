// Messages of the J1939 service, which owns the CAN bus: requests to install a filter and to send, and received
// frames.
//
// All integers are unsigned, 32 bits, little-endian:
//
// | offset | width | field             | meaning                                                        |
// |--------|-------|-------------------|----------------------------------------------------------------|
// | 0      | 4     | type              | j1939_type_t                                                   |
// | 4      | 4     | length            | 1808; filter requests: 1808 + the name's length                |
// | 8      | 4     | port              | CAN port, always 1 from the display                            |
// | 12     | 4     | identifier        | 29-bit extended identifier                                     |
// | 16     | 4     | dataLength / mask | data bytes; filter requests: the identifier mask               |
// | 20     | 1788  | data              | a standard frame uses the first 8 bytes                        |
// | 1808   | n     | channelName       | filter requests: channel for matching frames, no final zero    |
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "src/services/nm_client.h"

constexpr const char* J1939_CHANNEL_NAME = "j1939 External API";

enum j1939_type_t : std::uint32_t {
  J1939_SET_FILTER = 0,
  J1939_SEND = 1,  // also the type of a received frame
  J1939_SEND_RAW = 2,
  J1939_SET_MULTIPACKET_FILTER = 3,
  J1939_SEND_MULTIPACKET = 4,
  J1939_SET_FASTPACKET_FILTER = 5,
  J1939_SEND_FASTPACKET = 6,
};

constexpr std::size_t J1939_TYPE_AT = 0;
constexpr std::size_t J1939_LENGTH_AT = 4;
constexpr std::size_t J1939_PORT_AT = 8;
constexpr std::size_t J1939_IDENTIFIER_AT = 12;
constexpr std::size_t J1939_DATA_LENGTH_AT = 16;
constexpr std::size_t J1939_MASK_AT = 16;
constexpr std::size_t J1939_DATA_AT = 20;
constexpr std::size_t J1939_DATA_SIZE = 1788;
constexpr std::size_t J1939_MESSAGE_SIZE = 1808;
constexpr std::size_t J1939_NAME_AT = 1808;
constexpr std::size_t J1939_NAME_SIZE = 128;  // longest channel name in a filter request

// Static functions that write one message into the caller's buffer; the caller sends it. The buffer holds
// J1939_MESSAGE_SIZE bytes, and for filters the length of the name more. At most J1939_DATA_SIZE bytes of data
// are copied.
class J1939External {
 public:
  static void setFilter(unsigned identifier, unsigned mask, unsigned port, const std::string& channelName,
                        char* message);
  static void setMultipacketFilter(unsigned identifier, unsigned mask, unsigned port,
                                   const std::string& channelName, char* message);
  static void setFastpacketFilter(unsigned identifier, unsigned mask, unsigned port,
                                  const std::string& channelName, char* message);

  static void sendMsg(unsigned identifier, unsigned dataLength, unsigned port, const std::uint8_t* data,
                      char* message);
  static void sendRawMsg(unsigned identifier, unsigned dataLength, unsigned port, const std::uint8_t* data,
                         char* message);
  static void sendMultipacketMsg(unsigned identifier, unsigned dataLength, unsigned port,
                                 const std::uint8_t* data, char* message);
  static void sendFastpacketMsg(unsigned identifier, unsigned dataLength, unsigned port,
                                const std::uint8_t* data, char* message);

  // The filter table of the service for standard frames. One thread uses an object.
  class ExternalStandardCAN {
   public:
    // Delivers frames through `client`, which must outlive the object.
    explicit ExternalStandardCAN(NM::NMClient& client) : client_(client) {}

    // Adds or replaces the filter of an identifier. Matching frames go to the named channel.
    void addFilter(unsigned identifier, unsigned mask, const char* channelName);
    // Delivers a frame (a CAN_packet_t2) as a J1939_SEND message of 1808 bytes to the channel of the filter
    // with the frame's identifier. A frame without a filter is dropped silently. Always returns 0.
    int CheckRxPacket(const void* frame);

    std::size_t FilterCount() const { return filters_.size(); }
    // The result of sendMsg for the last delivery: room left at the fullest subscriber, or -1.
    int LastResult() const { return lastResult_; }

   private:
    struct installed_filter_t {
      std::uint32_t mask;
      int channel;
      std::string channelName;
    };
    NM::NMClient& client_;
    std::map<std::uint32_t, installed_filter_t> filters_;
    int lastResult_ = 0;
  };
};
