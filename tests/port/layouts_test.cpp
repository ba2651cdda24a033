// The bytes of every message and shared object are the same on any processor. layouts.txt is the dump of a
// 64-bit build; the build for 32-bit ARM runs this test too and has to write the same.
#include <cstring>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

#include "platform/board_state.h"
#include "platform/shared_memory.h"

#include "messages/packet.h"
#include "src/compositing/drawing_objects.h"
#include "src/compositing/layer.h"
#include "src/core/frame_layout.h"
#include "src/core/record_types.h"
#include "src/hostlink/j1939_external.h"
#include "src/screenapi/screen_api.h"
#include "src/services/dbshm.h"
#include "src/services/nm_messages.h"
#include "tests/support/fake_service.h"

namespace {

const std::string FOLDER = SOURCE_FOLDER "/tests/port/";

// One line for each layout: name, size in bytes, and the bytes in hexadecimal; a run of zeros is "00*length".
class Dump {
 public:
  void Add(const std::string& name, const void* memory, std::size_t size) {
    const bytes_t bytes(static_cast<const std::uint8_t*>(memory),
                        static_cast<const std::uint8_t*>(memory) + size);
    text_ << name << ' ' << size << ':';
    for (auto at = bytes.begin(); at != bytes.end();) {
      const auto next = std::find_if(at, bytes.end(), [](std::uint8_t byte) { return byte != 0; });
      if (next != at) text_ << " 00*" << next - at;
      at = next;
      for (; at != bytes.end() && *at != 0; ++at) {
        text_ << ' ' << std::hex << std::setw(2) << std::setfill('0') << int{*at} << std::dec;
      }
    }
    text_ << '\n';
  }
  void Add(const std::string& name, const bytes_t& bytes) { Add(name, bytes.data(), bytes.size()); }
  template <class Record>
  void AddRecord(const std::string& name, const Record& record) {
    Add(name, &record, sizeof record);
  }
  std::string Text() const { return text_.str(); }

 private:
  std::ostringstream text_;
};

void DumpRecords(Dump& dump) {
  dump.AddRecord("CAN_packet_t2", CAN_packet_t2{0x18FF00D0, 8, {1, 2, 3, 4, 5, 6, 7, 8}, {9, 10, 11}});
  dump.AddRecord("DecapData_t", DecapData_t{});
  dump.AddRecord("host_key_t", host_key_t{1, 2, 3, 4});
  dump.AddRecord("request_header_t",
                 platform::request_header_t{platform::packet_kind_t::PULSE, 2, 3, 4, 5, 6, 7, 8});
  dump.AddRecord("reply_header_t", platform::reply_header_t{1, 2, 3, 4, 5});
  dump.AddRecord("board_state_t", platform::board_state_t{1U,
                                                          {2U, 3U, 4U},
                                                          5U,
                                                          6U,
                                                          7U,
                                                          8U,
                                                          {9U, 10U, 11U, 12U},
                                                          13U,
                                                          14U,
                                                          15U,
                                                          16U,
                                                          17U,
                                                          18U,
                                                          19U,
                                                          20U,
                                                          21U,
                                                          22U});
}

void DumpDatabase(Dump& dump) {
  DBSHM::Init();
  auto* const memory = static_cast<std::uint8_t*>(DBSHM::getMemoryPtr());
  ASSERT_NE(memory, nullptr);
  DBSHM::Write(1, -1.5);
  DBSHM::Write(2, 0.25F);
  DBSHM::Write(3, true);
  DBSHM::Write(4, static_cast<signed char>(-3));
  DBSHM::Write(5, static_cast<unsigned char>(200));
  DBSHM::Write(6, -123456789);
  DBSHM::Write(7, 4000000000U);
  DBSHM::Write(8, -1LL << 40U);
  DBSHM::Write(9, 1ULL << 63U);
  DBSHM::Write(10, "8 bytes!");
  DBSHM::Write(11, 7U, 2.0, 5, false);
  auto& lock = *reinterpret_cast<platform::shared_lock_t*>(memory);
  ASSERT_TRUE(platform::LockShared(lock, std::chrono::seconds(1)).taken);
  platform::MarkSlot(lock, 0x0102);
  bytes_t start(memory, memory + dbshm_layout::SLOTS_AT + 12 * dbshm_layout::SLOT_SIZE);
  platform::UnlockShared(lock);
  std::fill_n(start.begin(), 4, 0);                             // the thread that holds the lock
  std::fill_n(start.begin() + dbshm_layout::CHANNEL_AT, 8, 0);  // the channel and process of the owner
  dump.Add("DBSHM of " + std::to_string(dbshm_layout::OBJECT_SIZE), start);
  platform::UnlinkSharedObject(dbshm_layout::OBJECT_NAME);
}

void DumpBusMessages(Dump& dump) {
  using filter_t = void(unsigned, unsigned, unsigned, const std::string&, char*);
  using frame_message_t = void(unsigned, unsigned, unsigned, const std::uint8_t*, char*);
  const std::pair<const char*, filter_t*> filters[] = {
      {"setFilter", J1939External::setFilter},
      {"setMultipacketFilter", J1939External::setMultipacketFilter},
      {"setFastpacketFilter", J1939External::setFastpacketFilter},
  };
  const std::pair<const char*, frame_message_t*> sends[] = {
      {"sendMsg", J1939External::sendMsg},
      {"sendRawMsg", J1939External::sendRawMsg},
      {"sendMultipacketMsg", J1939External::sendMultipacketMsg},
      {"sendFastpacketMsg", J1939External::sendFastpacketMsg},
  };
  bytes_t message;
  for (const auto& [name, write] : filters) {
    message.assign(J1939_MESSAGE_SIZE + 4, 0);
    write(0x18FF00D0, 0x1FFFFFFF, 1, "name", reinterpret_cast<char*>(message.data()));
    dump.Add(name, message);
  }
  const std::array<std::uint8_t, 8> data{1, 2, 3, 4, 5, 6, 7, 8};
  for (const auto& [name, write] : sends) {
    message.assign(J1939_MESSAGE_SIZE, 0);
    write(0x18FF00D2, data.size(), 1, data.data(), reinterpret_cast<char*>(message.data()));
    dump.Add(name, message);
  }
}

// Every request of a client of the notification manager, and every operation of the screen service's client.
void DumpServiceMessages(Dump& dump) {
  FakeService manager(NM_SERVER_NAME, [](const bytes_t&) { return Words({0, 6, 0, 1}); });
  NM::NMClient client;
  client.subscribe(6);
  client.sendMsg(6, "event", 5);
  int channel = 0;
  client.wakeReceiver();
  client.recvMsg(channel, nullptr, 0);
  ScreenApi screen;
  screen.setText(5, "ab", 2);
  screen.setTextWidget(-1, "");
  screen.move(3, -10, 76);
  screen.rotate(3, 0.5F, 1.0F, -2.0F);
  screen.framerate(30);
  screen.processCommands();
  screen.show(3);
  screen.hide(3);
  screen.setColor(3, 1, 0.5F, 1.0F, -2.0F, 1.0F);
  screen.setAlternate(9, 2);
  for (bytes_t& request : manager.DrainRequests()) {
    if (request[NM_TYPE_AT] == NM_CONNECT)
      std::fill_n(request.begin() + NM_CONNECT_PID_AT, 8, 0);  // process, channel
    dump.Add("request", request);
  }
}

void DumpDrawing(Dump& dump) {
  using namespace Compositing;
  Layer layer(3, LAYER_USER);
  layer.setToCurrentLayer();
  layer.glPushAndTranslate(1.0F, -2.0F, 0.5F);
  layer.glRotate(90.0F, 0.0F, 0.0F, 1.0F);
  layer.setColor(0.0F, 0.5F, 1.0F, 1.0F);
  layer.enable(7);
  layer.preloadImages("a.png");
  layer.capture("b.png");
  const VideoInfo_t video{1, 2, 3, 4, 5};
  layer.video(&video);
  CompGraphCircle(2.0F).fillGradient({0, 0, 0, 1}, {1, 1, 1, 1});
  CompGraphImage("c.png").DrawTexture(10, 20);
  dump.Add("layer", bytes_t(layer.Queued().begin(), layer.Queued().end()));
}

TEST(Layouts, AreThoseOfA64BitBuild) {
  const RuntimeDirectoryForTest directory;
  Dump dump;
  DumpRecords(dump);
  DumpDatabase(dump);
  DumpBusMessages(dump);
  DumpServiceMessages(dump);
  DumpDrawing(dump);
  std::ifstream file(FOLDER + "layouts.txt");
  const std::string expected{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(dump.Text(), expected) << "write it to tests/port/layouts.txt where a layout is meant to change:\n"
                                   << dump.Text();
}

}  // namespace
