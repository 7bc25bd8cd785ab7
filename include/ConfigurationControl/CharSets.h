/** @file
 * Byte-string helpers: a test for UTF-8, the conversion entry points between the host's 8-bit code page and UTF-8 (on
 * this platform they copy), a character filter, and the escaping of characters that conflict with XML text.
 *
 * None of them locks; each may be called from any thread on distinct data. Texts are zero-terminated bytes; every
 * `char const*` may be null. Only functions that return or change a string throw: std::bad_alloc.
 */
#ifndef CONFIGURATIONCONTROL_CHARSETS_H
#define CONFIGURATIONCONTROL_CHARSETS_H

#include "ConfigurationControl/CxxOnly.h"

#include <cstddef>
#include <string>

#include "ConfigurationControl/Export.h"

struct SETMULTIPAR;

/** Characters and character sets. */
namespace CharSets {

/** Which way a conversion goes. Accepted and ignored on this platform. */
enum DIRECTION : int {
    WIN_TO_UTF8 = 0, /**< from the host's code page to UTF-8 */
    UTF8_TO_WIN = 1  /**< from UTF-8 to the host's code page */
};

/** How DuplicateAndConvert allocates. Any value but 0 means ALLOC_NEW. */
enum ALLOC_METHOD : int {
    ALLOC_MALLOC = 0, /**< by `malloc`: the caller releases with `free` */
    ALLOC_NEW = 1     /**< by `new char[]`: the caller releases with `delete[]` */
};

/**
 * Guesses whether the text is UTF-8: true if it holds at least one multi-byte sequence; false for pure ASCII, for
 * malformed bytes only, and for null. The even bytes from 0xF0 to 0xFE begin four-byte sequences, and overlong forms
 * count. Takes linear time.
 */
CONFIGURATIONCONTROL_API bool IsUtf8Coded(char const* text);
/** As above, for the bytes before the first zero. */
CONFIGURATIONCONTROL_API bool IsUtf8Coded(std::string const& text);

/** Whether the text must be converted before it is shown. @return always false on this platform */
CONFIGURATIONCONTROL_API bool NeedsConversion(char const* text);
/** @copydoc NeedsConversion(char const*) */
CONFIGURATIONCONTROL_API bool NeedsConversion(std::string const& text);

/** The size of the converted text. @return always 0 on this platform: nothing is converted */
CONFIGURATIONCONTROL_API std::size_t RequiredBufferSize(char const* text);
/** @copydoc RequiredBufferSize(char const*) */
CONFIGURATIONCONTROL_API std::size_t RequiredBufferSize(std::string const& text);

/**
 * Copies at most `size` - 1 bytes of `source` to `destination` and fills the rest, at least one byte, with zeros.
 * @param destination space for `size` bytes; may overlap `source`; with null nothing is done
 * @param source null counts as ""
 * @param size in bytes; with 0 nothing is done
 * @return destination
 */
CONFIGURATIONCONTROL_API char* Win2Utf8(char* destination, char const* source, std::size_t size);
/** @copydoc Win2Utf8(char*, char const*, std::size_t) */
CONFIGURATIONCONTROL_API char* Win2Utf8Decomposed(char* destination, char const* source, std::size_t size);
/** @copydoc Win2Utf8(char*, char const*, std::size_t) */
CONFIGURATIONCONTROL_API char* Utf82Win(char* destination, char const* source, std::size_t size);

/** @return a copy of `text`, zero bytes included */
CONFIGURATIONCONTROL_API std::string Win2Utf8(std::string const& text);
/** @copydoc Win2Utf8(std::string const&) */
CONFIGURATIONCONTROL_API std::string Win2Utf8Decomposed(std::string const& text);
/** @copydoc Win2Utf8(std::string const&) */
CONFIGURATIONCONTROL_API std::string Utf82Win(std::string const& text);

/**
 * Copies a text with its terminating zero.
 * @return to be released as `method` says; null for a null `source`, and when `malloc` fails. ALLOC_NEW throws
 * std::bad_alloc instead.
 */
CONFIGURATIONCONTROL_API char* DuplicateAndConvert(char const* source, DIRECTION direction, ALLOC_METHOD method);

/**
 * Escapes, in place, the five characters that XML reserves and the seven German letters of Latin-1 (0xC4, 0xD6, 0xDC,
 * 0xDF, 0xE4, 0xF6, 0xFC), the latter as decimal references such as "&#196;".
 *
 * The characters are replaced one after the other in ascending byte order, each only after the position of the last
 * earlier replacement: "a<b&c" gives "a<b&amp;c", because "&" is replaced first. Hosts have stored such texts.
 * Takes linear time.
 */
CONFIGURATIONCONTROL_API void ReplaceConflictingXMLDataInString(std::string& text);

/** Functions that do not mistake the second byte of a double-byte character for ASCII, where such characters exist. */
namespace DBCS {

/** Replaces every byte equal to `from` by `to`. */
CONFIGURATIONCONTROL_API void ReplaceAll(std::string& text, char from, char to);
/** The position of the last byte; -1 for an empty text. */
CONFIGURATIONCONTROL_API std::ptrdiff_t LastAsciiPos(std::string const& text);

}  // namespace DBCS

/** Maps each byte to another or removes it. Bytes are compared as unsigned; ranges include both ends. */
class CONFIGURATIONCONTROL_API FilterString {
 public:
    /** Lets every byte through, or removes every byte. */
    explicit FilterString(bool passAll);

    /** Lets a range through; nothing changes when `first` is above `last`. */
    void setBypass(char first, char last);
    /** Lets the bytes of a text through. Null changes nothing. */
    void setBypass(char const* set);
    /** Removes a range. */
    void setRemove(char first, char last);
    /** Removes the bytes of a text. */
    void setRemove(char const* set);
    /** Turns a range into `with`; 0 removes it. */
    void setReplace(char first, char last, char with);
    /** Turns the bytes of a text into `with`; 0 removes them. */
    void setReplace(char const* set, char with);

    /** What `c` becomes; 0 if it is removed. */
    char operator()(char c) const { return m_table[static_cast<unsigned char>(c)]; }
    /** The filtered text. */
    std::string operator()(std::string const& text) const;

 private:
    char m_table[256];
};

/** Keeps a converted copy of a batch; on this platform the copy shares keys and values with the original. */
class CONFIGURATIONCONTROL_API clCONVERT_SETMULTIPAR {
 public:
    /** Copies the records with their terminator. `batch` may be null. Its keys and values must outlive this object. */
    clCONVERT_SETMULTIPAR(SETMULTIPAR const* batch, DIRECTION direction);
    ~clCONVERT_SETMULTIPAR();
    clCONVERT_SETMULTIPAR(clCONVERT_SETMULTIPAR const&) = delete;
    clCONVERT_SETMULTIPAR& operator=(clCONVERT_SETMULTIPAR const&) = delete;

    /** The copy, valid as long as this object; null for a null batch or when memory was short. */
    SETMULTIPAR* Table() const { return m_batch; }

 private:
    [[maybe_unused]] void* m_reserved; /**< null; keeps the layout */
    SETMULTIPAR* m_batch;
};

}  // namespace CharSets

#endif
