// Handles of cairo and librsvg, for the sources of this folder.
#pragma once

#include <memory>
#include <string>

#include <cairo.h>
#include <librsvg/rsvg.h>

#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

namespace unit {

template <auto Release>
struct releaser_t {
  template <typename T>
  void operator()(T* object) const {
    Release(object);
  }
};

using surface_handle_t = std::unique_ptr<cairo_surface_t, releaser_t<cairo_surface_destroy>>;
using context_handle_t = std::unique_ptr<cairo_t, releaser_t<cairo_destroy>>;
using region_handle_t = std::unique_ptr<cairo_region_t, releaser_t<cairo_region_destroy>>;
using svg_handle_t = std::unique_ptr<RsvgHandle, releaser_t<g_object_unref>>;

// Hides the libraries' accesses from ThreadSanitizer while it exists. Pango passes font lists between its
// threads under GLib's locks; the distribution's libraries are not instrumented, so that the sanitizer sees the
// accesses but not the locks.
class LibraryScope {
 public:
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
  LibraryScope() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
  }
  ~LibraryScope() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
  }
#else
  LibraryScope() = default;
  ~LibraryScope() = default;
#endif
  LibraryScope(const LibraryScope&) = delete;
  LibraryScope& operator=(const LibraryScope&) = delete;
};

// Throws std::runtime_error with the library's message and frees the error, which may be null.
[[noreturn]] void ThrowDrawError(GError* error);

// Throws std::runtime_error when the document cannot be read.
svg_handle_t ReadSvg(const std::string& svg);

}  // namespace unit
