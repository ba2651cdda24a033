#include "unit/history/deflated_text.h"

#include <new>

#include <zlib.h>

namespace unit {

DeflatedText::DeflatedText(std::string_view text) : textSize_(text.size()) {
  uLongf size = compressBound(text.size());
  bytes_.resize(size);
  // zlib's interface has bytes.
  auto* to = reinterpret_cast<Bytef*>(bytes_.data());
  const auto* from = reinterpret_cast<const Bytef*>(text.data());
  if (compress2(to, &size, from, text.size(), Z_DEFAULT_COMPRESSION) != Z_OK) throw std::bad_alloc();
  bytes_.resize(size);
  bytes_.shrink_to_fit();
}

std::string DeflatedText::Inflate() const {
  std::string text(textSize_, '\0');
  uLongf size = text.size();
  auto* to = reinterpret_cast<Bytef*>(text.data());
  const auto* from = reinterpret_cast<const Bytef*>(bytes_.data());
  if (uncompress(to, &size, from, bytes_.size()) != Z_OK) throw std::bad_alloc();
  return text;
}

}  // namespace unit
