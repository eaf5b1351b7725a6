// The part of CoreGraphics' display services that texprobe calls, under the names, types and values
// that macOS publishes; implemented in Platform/Linux/CoreGraphics. May be called from any thread.

#ifndef TEXPROBE_PLATFORM_APPLICATIONSERVICES_H
#define TEXPROBE_PLATFORM_APPLICATIONSERVICES_H

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

extern "C" {

typedef std::uint32_t CGDirectDisplayID;
typedef std::uint32_t CGOpenGLDisplayMask;
typedef std::int32_t CGError;
enum : CGError { kCGErrorSuccess = 0, kCGErrorIllegalArgument = 1001 };

/// Writes the IDs of at most `maxDisplays` active displays to `activeDisplays` and their number to
/// `*displayCount`. With a null `activeDisplays` only the number is written.
/// kCGErrorIllegalArgument when `displayCount` is null.
/// Differs from macOS: a display is a connected and enabled DRM connector. A machine without one
/// has one headless display, so that its renderers can be measured.
CGError CGGetActiveDisplayList(std::uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               std::uint32_t* displayCount);

/// A display's bit in CGLQueryRendererInfo's display mask; 0 for an ID that no display can have.
CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display);

}  // extern "C"

#endif
