// The part of CoreFoundation that texprobe calls, under the names, types and values that macOS
// publishes. Written from the published interface and implemented in Platform/Linux/CoreFoundation.
//
// Objects are reference counted. A function with "Create" or "Copy" in its name returns a reference
// that the caller owns and gives back with CFRelease; every other object is borrowed. All functions
// may be called from any thread; an object may be shared between threads because none of these
// types can change after its creation.

#ifndef TEXPROBE_PLATFORM_COREFOUNDATION_H
#define TEXPROBE_PLATFORM_COREFOUNDATION_H

#include <cstdint>

extern "C" {

// Types.

typedef unsigned char Boolean;
typedef std::uint32_t UInt32;
typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;

typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;

// Object identity and lifetime.

/// Gives back one reference; the object is destroyed with its last one. `object` must not be null.
/// Differs from macOS: a null object is ignored instead of ending the process.
void CFRelease(CFTypeRef object);

/// The type of a non-null object, comparable with the Get*TypeID functions.
CFTypeID CFGetTypeID(CFTypeRef object);

// Strings.

typedef UInt32 CFStringEncoding;
enum : CFStringEncoding { kCFStringEncodingMacRoman = 0, kCFStringEncodingASCII = 0x0600 };

typedef CFOptionFlags CFStringCompareFlags;
typedef enum : CFIndex {
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
} CFComparisonResult;

CFTypeID CFStringGetTypeID(void);

/// A constant string from a literal: lives for the whole process, and releasing it does nothing.
/// The same text gives the same object. Differs from macOS: null when the literal is not ASCII.
#define CFSTR(literal) __CFStringMakeConstantString("" literal "")
CFStringRef __CFStringMakeConstantString(const char* literal);

/// A new string that the caller owns, or null when `text` is null or holds a byte that `encoding`
/// does not define (ASCII: any byte above 0x7F).
/// Differs from macOS: ASCII is the only encoding, any other yields null; a null `text` yields null
/// instead of ending the process. `allocator` is ignored.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                      CFStringEncoding encoding);

/// printf for strings: a new string that the caller owns.
/// Differs from macOS: supports only "%@" (a CFStringRef), "%x", "%s" and "%%". A null argument
/// gives "(null)". Returns null for any other conversion, an object of another type, or text that
/// is not ASCII. `allocator` and `options` are ignored.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef options,
                                     CFStringRef format, ...);

/// The text as a NUL-terminated string that lives as long as the string does.
/// Differs from macOS: never null for a valid string, since every string here is stored as ASCII,
/// which is the same in every encoding that may be asked for.
const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);

/// How many code units the string has.
CFIndex CFStringGetLength(CFStringRef string);

/// Copies the text and a NUL into `buffer`. False, with nothing useful in it, when `bufferSize`
/// bytes are too few or the text is not in `encoding`.
/// Differs from macOS: ASCII is the only encoding.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);

/// Compares two non-null strings by code unit.
/// Differs from macOS: always exact and case-sensitive; `options` is ignored.
CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags options);

// Numbers and booleans.

typedef CFIndex CFNumberType;
enum : CFNumberType { kCFNumberDoubleType = 13 };

CFTypeID CFNumberGetTypeID(void);

/// A new number that the caller owns; `value` points to a double.
/// Differs from macOS: kCFNumberDoubleType is the only type, any other yields null.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);

/// Writes the number to `value` (a double) and returns true, or returns false and writes nothing.
/// Differs from macOS: kCFNumberDoubleType is the only type.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

// Arrays.

typedef struct {
    CFIndex version;
} CFArrayCallBacks;

/// Has an array retain its values. Differs from macOS: it has no functions, since nothing here
/// calls them.
extern const CFArrayCallBacks kCFTypeArrayCallBacks;

/// A new array that the caller owns, holding `count` values, each retained. Null for a negative
/// `count`, and for null `values` unless there are none.
/// Differs from macOS: the callbacks must be the ones above.
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks);

CFIndex CFArrayGetCount(CFArrayRef array);

/// The value at `index`, which must be below the count; it belongs to the array.
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

// Dictionaries.

typedef struct {
    CFIndex version;
} CFDictionaryKeyCallBacks;

typedef struct {
    CFIndex version;
} CFDictionaryValueCallBacks;

/// As for arrays.
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

/// A new dictionary that the caller owns, holding `numValues` pairs. Null for a negative number,
/// and for null `keys` or `values` unless there are none. Differs from macOS: the callbacks must be
/// the two above; keys are not compared, so that the later one of two equal keys counts where a
/// dictionary is used.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);

// Preferences: typed values under (application, key), one store per user.
//
// This process sees a set or a removal at once; it reaches the disk at the next synchronize of its
// application. Each kind of failure is printed once on standard error, and the process continues
// with its own view. It tries to store the rest at the next synchronize, and a last
// time when it ends, and then prints how many records are missing. A null application
// identifier or key means no record.

extern const CFStringRef kCFPreferencesCurrentUser;
extern const CFStringRef kCFPreferencesAnyHost;

/// The stored value, owned by the caller, or null when there is none.
/// Differs from macOS: only booleans, doubles and strings are stored; a value of another type in
/// the store reads as none.
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID);

/// The value as a boolean: a boolean itself, or the texts "true", "yes", "false" and "no" in any
/// case. `*keyExistsAndHasValidFormat` (may be null) tells a stored false from everything that
/// cannot be read as a boolean, for which the result is false as well.
Boolean CFPreferencesGetAppBooleanValue(CFStringRef key, CFStringRef applicationID,
                                        Boolean* keyExistsAndHasValidFormat);

/// Stores or replaces one value; a null value removes the key.
/// Differs from macOS: a value that is not a boolean, a double or a string of at most 65,536 bytes
/// is refused with a line on standard error.
void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID);

/// Sets every pair of `keysToSet` and removes every key of `keysToRemove`, as one operation; either
/// may be null. Differs from macOS: `userName` and `hostName` must be kCFPreferencesCurrentUser and
/// kCFPreferencesAnyHost, or nothing happens; values are those of CFPreferencesSetAppValue.
void CFPreferencesSetMultiple(CFDictionaryRef keysToSet, CFArrayRef keysToRemove,
                              CFStringRef applicationID, CFStringRef userName,
                              CFStringRef hostName);

/// The keys that have values, in no particular order: an array of strings that the caller owns, or
/// null when there are none. Differs from macOS: `userName` and `hostName` as above, or null.
CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName,
                                    CFStringRef hostName);

/// The applications that have values: an array of strings that the caller owns, or null when there
/// are none. Unsupported on macOS since 10.9, where it may yield nothing.
/// Differs from macOS: `userName` and `hostName` as above, or null.
CFArrayRef CFPreferencesCopyApplicationList(CFStringRef userName, CFStringRef hostName);

/// Makes all sets and removals of this application durable in one transaction and refreshes this
/// process's view of it. Returns false when the store could not be read or written.
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);

}  // extern "C"

#endif
