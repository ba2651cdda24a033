#include "src/hostlink/immediate_replies.h"

#include <algorithm>
#include <array>
#include <span>

#include "src/core/name_tables.h"
#include "src/core/queues.h"
#include "src/hostlink/can_transport.h"

const std::string_view FD = __DATE__;

namespace {

using reply_frame_t = std::array<std::uint8_t, FRAME_SIZE>;

constexpr std::uint8_t INFO_STATUS = 0xFF;  // key status that goes with the code of "Info"
constexpr std::size_t DAY_TENS_AT = 4;      // position in the date

void SendReply(orvikData_t* data, const reply_frame_t& frame) {
  TransmitCAN(data, DISPLAY_FRAME_ID, CAN_PORT, frame.data());
}

std::uint8_t FrameCount(std::size_t characters) {
  const std::size_t later = characters <= FIRST_FRAME_ROOM ? 0 : characters - FIRST_FRAME_ROOM;
  return static_cast<std::uint8_t>(1 + (later + LATER_FRAME_ROOM - 1) / LATER_FRAME_ROOM);
}

reply_frame_t PaddedFrame() {
  reply_frame_t frame;
  frame.fill(FRAME_PADDING);
  return frame;
}

// The first frame of a text: its number, the number of frames, six characters.
reply_frame_t FirstFrame(std::string_view text) {
  reply_frame_t frame = PaddedFrame();
  frame[0] = 0;
  frame[1] = FrameCount(text.size());
  const std::string_view part = text.substr(0, FIRST_FRAME_ROOM);
  std::copy(part.begin(), part.end(), frame.begin() + 2);
  return frame;
}

// Frame `number` (1 or more): its number and seven characters.
reply_frame_t LaterFrame(std::string_view text, std::uint8_t number) {
  reply_frame_t frame = PaddedFrame();
  frame[0] = number;
  const std::string_view part = text.substr(MessageRoom(number), LATER_FRAME_ROOM);
  std::copy(part.begin(), part.end(), frame.begin() + 1);
  return frame;
}

void SendText(orvikData_t* data, std::string_view text) {
  SendReply(data, FirstFrame(text));
  for (std::uint8_t number = 1; number < FrameCount(text.size()); ++number)
    SendReply(data, LaterFrame(text, number));
}

void SendStatus(orvikData_t* data, std::uint8_t status) {
  reply_frame_t frame = PaddedFrame();
  frame[0] = 0;
  frame[1] = 1;
  frame[2] = status;
  SendReply(data, frame);
}

}  // namespace

void ReturnKeyState(orvikData_t* data) {
  const std::uint32_t key = getKeyData(data);
  reply_frame_t frame = PaddedFrame();
  frame[0] = 0;
  frame[1] = 1;
  frame[2] = key == HOST_KEY_INFO ? INFO_STATUS : data->keyStatus.Load();
  frame[3] = static_cast<std::uint8_t>(key);
  frame[4] = static_cast<std::uint8_t>(data->lastKey);
  SendReply(data, frame);
}

void ReturnProgramName(orvikData_t* data) {
  SendText(data, PN);
}

void ReturnProgramDate(orvikData_t* data) {
  SendReply(data, data->programDate.frame1);
  SendReply(data, data->programDate.frame2);
}

void ReturnFileID(orvikData_t* data) {
  SendText(data, VR);
}
void ReturnLCDStatus(orvikData_t* data) {
  SendStatus(data, 0);
}
void ReturnLEDBrightness(orvikData_t* data) {
  SendStatus(data, 3);
}

program_date_t MakeProgramDate(std::string_view date) {
  program_date_t frames{FirstFrame(date), LaterFrame(date, 1)};
  if (date[DAY_TENS_AT] == ' ') frames.frame1[2 + DAY_TENS_AT] = '0';
  return frames;
}

void InitProgramDate(orvikData_t* data) {
  const program_date_t frames = MakeProgramDate(FD);
  if (data->programDate.frame1 == frames.frame1 && data->programDate.frame2 == frames.frame2) return;
  data->programDate = frames;
}
