#include "src/screenapi/screen_api.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>

#include "platform/byte_order.h"

namespace {

constexpr int SERVICE = 0;                      // target word of messages that do not address a widget
constexpr std::size_t TEXT_MESSAGE_EXTRA = 13;  // target, operation, attribute, and the end byte

}  // namespace

// Writes one message. Holds the buffer's lock from construction to destruction.
class ScreenApi::Message {
 public:
  Message(ScreenApi& api, screen_operation_t operation, int target)
      : api_(api), lock_(api.mutex_), buffer_(api.buffer_.get(), SCREEN_MESSAGE_SIZE) {
    Word(target);
    Word(static_cast<int>(operation));
  }

  Message& Word(int value) {
    platform::StoreLe32(buffer_, length_, static_cast<std::uint32_t>(value));
    length_ += sizeof(std::uint32_t);
    return *this;
  }
  Message& Float(float value) {
    platform::StoreLeFloat(buffer_, length_, value);
    length_ += sizeof(float);
    return *this;
  }
  Message& Text(const std::string& text) {
    std::copy(text.begin(), text.end(), buffer_.data() + length_);
    length_ += text.size();
    buffer_[length_++] = 0;
    return *this;
  }
  void Send() {
    api_.client_->sendMsg(api_.connection_, reinterpret_cast<const char*>(buffer_.data()),
                          static_cast<int>(length_));
  }

 private:
  ScreenApi& api_;
  std::lock_guard<std::mutex> lock_;
  std::span<std::uint8_t> buffer_;
  std::size_t length_ = 0;
};

ScreenApi::ScreenApi()
    : client_(std::make_unique<NM::NMClient>()),
      connection_(client_->registerName(SCREEN_CHANNEL_NAME)),
      buffer_(new (std::nothrow) std::uint8_t[SCREEN_MESSAGE_SIZE]),
      ready_(buffer_ != nullptr) {}

ScreenApi::~ScreenApi() = default;

void ScreenApi::SendText(int handle, const std::string& text, int attribute) {
  if (!ready_ || TEXT_MESSAGE_EXTRA + text.size() >= SCREEN_MESSAGE_SIZE) return;
  Message(*this, SCREEN_SET_TEXT, handle).Word(attribute).Text(text).Send();
}

void ScreenApi::setText(const int& handle, const std::string& text, const int& attribute) {
  SendText(handle, text, attribute);
}

void ScreenApi::setTextWidget(int handle, const std::string& text) {
  SendText(handle, text, SCREEN_TEXT_LEFT);
}

void ScreenApi::setTextGauge(int handle, const std::string& text, int attribute) {
  SendText(handle, text, attribute);
}

void ScreenApi::setTextGauge(int handle, const std::string& text) {
  SendText(handle, text, SCREEN_TEXT_LEFT);
}

void ScreenApi::move(int handle, int x, int y) {
  if (ready_) Message(*this, SCREEN_MOVE, handle).Word(x).Word(y).Send();
}

void ScreenApi::rotate(int handle, float a, float b, float c) {
  if (ready_) Message(*this, SCREEN_ROTATE, handle).Float(a).Float(b).Float(c).Send();
}

void ScreenApi::framerate(int rate) {
  if (ready_) Message(*this, SCREEN_FRAMERATE, SERVICE).Word(rate).Send();
}

void ScreenApi::processCommands() {
  if (ready_) Message(*this, SCREEN_PROCESS_COMMANDS, SERVICE).Send();
}

void ScreenApi::show(int handle) {
  if (ready_) Message(*this, SCREEN_SHOW, handle).Send();
}

void ScreenApi::hide(int handle) {
  if (ready_) Message(*this, SCREEN_HIDE, handle).Send();
}

void ScreenApi::setColor(int handle, int which, float r, float g, float b, float a) {
  if (!ready_) return;
  Message(*this, SCREEN_SET_COLOR, handle).Word(which).Float(r).Float(g).Float(b).Float(a).Send();
}

void ScreenApi::setAlternate(int /*handle*/, int alternate) {
  if (ready_) Message(*this, SCREEN_SET_ALTERNATE, SERVICE).Word(alternate).Send();
}
