#include "unit/screen/render/drawing_library.h"

#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
// Fontconfig keeps its list of fonts until the process ends. That is no leak: it does not grow with each
// picture.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig";
}
#endif

namespace unit {

void ThrowDrawError(GError* error) {
  const std::unique_ptr<GError, releaser_t<g_error_free>> owned(error);
  throw std::runtime_error(std::string("cannot draw the picture: ") +
                           (owned ? owned->message : "no reason given"));
}

svg_handle_t ReadSvg(const std::string& svg) {
  GError* error = nullptr;
  const std::basic_string<guint8> bytes(svg.begin(), svg.end());
  svg_handle_t handle(rsvg_handle_new_from_data(bytes.data(), bytes.size(), &error));
  if (!handle) ThrowDrawError(error);
  return handle;
}

}  // namespace unit
