// qor::TexProbe: what the renderer of the current OpenGL context really does with sixteen texture
// formats, as measured by the texprobe tool. The only header an application needs; C++11.

#ifndef QOR_TEXPROBE_H
#define QOR_TEXPROBE_H

#include <map>

// The two platform types in this interface, declared here exactly as CoreFoundation and OpenGL do,
// so that applications need not include either.
typedef const struct __CFString* CFStringRef;
typedef unsigned int GLenum;

#define QOR_TEXPROBE_EXPORT __attribute__((visibility("default")))

// The object holds a std::map, whose layout depends on the standard library. ELF systems may have
// several, usually GNU's. With another one, or with GNU's debug mode, the constructor has another
// name: if application and library do not match, they do not link, and the missing symbol says why.
#if defined(__ELF__) && defined(_LIBCPP_VERSION)
#define QOR_TEXPROBE_FITS __attribute__((abi_tag("needs_TexProbe_built_with_libcxx")))
#elif defined(_GLIBCXX_DEBUG)
#define QOR_TEXPROBE_FITS __attribute__((abi_tag("needs_TexProbe_built_with_GLIBCXX_DEBUG")))
#else
#define QOR_TEXPROBE_FITS
#endif

namespace qor {

/// The measured capabilities of one renderer in a compatibility-profile context, read once at
/// construction and answered from memory. TexProbeVerdicts.h answers for contexts of other kinds.
///
/// A texture format is named by its OpenGL internal format, one of
///   GL_LUMINANCE8    GL_LUMINANCE8_ALPHA8       GL_RGB8        GL_RGBA8
///   GL_LUMINANCE16   GL_LUMINANCE16_ALPHA16     GL_RGB16       GL_RGBA16
///   GL_LUMINANCE16F_ARB GL_LUMINANCE_ALPHA16F_ARB GL_RGB16F_ARB GL_RGBA16F_ARB
///   GL_LUMINANCE32F_ARB GL_LUMINANCE_ALPHA32F_ARB GL_RGB32F_ARB GL_RGBA32F_ARB
///
/// Thread safety: construction belongs to the thread whose OpenGL context is current. The queries
/// of a constructed object may be called from several threads at once.
///
/// Errors: the constructor throws nothing but std::bad_alloc. If it finds no records and the tool
/// produces none, it prints that on standard error and leaves an empty object, for which every
/// query prints its message and returns false.
class QOR_TEXPROBE_EXPORT TexProbe {
public:
    /// The verdicts on one format: six flags in bits 0 to 5 of a 32-bit record, the rest zero.
    struct TexFormatCaps {
        unsigned supported : 1;      ///< A texture of the format can be created.
        unsigned renderable : 1;     ///< The format can be a render target.
        unsigned upload_set : 1;     ///< Filled from a pixel buffer object, glTexSubImage2D.
        unsigned upload_reset : 1;   ///< Defined from a pixel buffer object, glTexImage2D.
        unsigned download_get : 1;   ///< Read into a pixel buffer object, glGetTexImage.
        unsigned download_read : 1;  ///< Read into a pixel buffer object, glReadPixels.
        unsigned unused : 26;
    };

    /// Finds the records of the current context's renderer. If there are no usable ones, or a run
    /// of the tool is at work on them, runs the tool at `toolPath` once, waits for it, and looks
    /// again. `toolPath` is passed to the shell between double quotes. It is not used if records
    /// exist; null counts as a tool that cannot be started. The context stays current and its state
    /// is not changed. The tool measures a compatibility-profile context. OpenGL ES contexts report
    /// other strings and match nothing; nor do core-profile contexts where the version string names
    /// the profile, as Mesa's does.
    ///
    /// Takes about a millisecond with records, and as long as the tool without. A tool whose driver
    /// hangs is not killed. The tool is started by system(): meanwhile the application ignores
    /// SIGINT and SIGQUIT. If the application ignores SIGCHLD, a tool that succeeded counts as
    /// failed.
    QOR_TEXPROBE_FITS explicit TexProbe(const char* toolPath);
    ~TexProbe();

    TexProbe(const TexProbe&) = delete;
    TexProbe& operator=(const TexProbe&) = delete;

    /// Reads the six records of one format under an application identifier, both borrowed. A record
    /// that is absent or not a boolean reads as false; so does every record of a null identifier.
    TexFormatCaps GetTextureFormatCaps(CFStringRef appID, CFStringRef formatName);

    /// Can textures of this format be created and, when `renderable`, be rendered to as well?
    bool IsTextureFormatSupported(GLenum format, bool renderable) const;
    /// Does a sub-image upload from a pixel buffer object arrive as it was sent?
    bool IsTextureFormatSettable(GLenum format) const;
    /// Does a texture defined from a pixel buffer object hold the image that was sent?
    bool IsTextureFormatResettable(GLenum format) const;
    /// Does reading the texture image into a pixel buffer object give the rendered image?
    bool IsTextureFormatGettable(GLenum format) const;
    /// Does reading the framebuffer into a pixel buffer object give the rendered image?
    bool IsTextureFormatReadable(GLenum format) const;

    /// The tool's test driver: measures every renderer behind every active display and records the
    /// verdicts in the user's preferences. Progress goes to the standard streams. Ends the process
    /// with status 1 if a renderer's context cannot be set up. A driver may crash, so call it in a
    /// process of its own. Replaces the calling thread's current context.
    static void RunTest();

private:
    TexProbe();

    CFStringRef appID_;  // Owned; null when there are no records.
    std::map<unsigned, TexFormatCaps> caps_;
};

}  // namespace qor

#endif
