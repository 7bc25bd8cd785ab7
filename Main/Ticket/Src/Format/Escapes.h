// How texts and byte strings are spelled in a ticket file: 7-bit characters only, and nothing that an XML parser or its
// treatment of white space could change.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Format/Oddities.h"

// Escapes control characters, "\", "<", ">", every byte from 0x7F up, and every second space of a run.
std::string EncodeString(std::string const& in);
// The inverse. A backslash that begins no escape stays, an unfinished escape at the end is dropped, "\" alone is "".
std::string DecodeString(std::string const& in);

// The most bytes that one byte of a text becomes.
constexpr std::size_t LONGEST_ESCAPE = 4;

// Writes the escaped form of the next part of a text to `out`, which has space for LONGEST_ESCAPE * in.size() bytes,
// and returns its end. `isAfterSpace` is false before the first part; from one part to the next it keeps whether the
// last byte was a space that was not escaped.
char* Encode(char* out, std::string_view in, bool& isAfterSpace);

// Appends what DecodeString returns to `out`, which must not own the bytes of `in`.
void DecodeTo(std::string& out, std::string_view in, TICKET_FORMAT::ODDITY_LISTENER* listener = nullptr);

// Drops the bytes 0x01 to 0x20 at both ends and makes every run of them inside one space. The result views `in` if
// nothing changes inside, otherwise `scratch`, which is overwritten.
std::string_view NormaliseSpace(std::string_view in, std::string& scratch,
                                TICKET_FORMAT::ODDITY_LISTENER* listener = nullptr);

// The length of a NUL-terminated text that neither NormaliseSpace nor DecodeTo would change; npos for any other.
std::size_t PlainLength(char const* text);
