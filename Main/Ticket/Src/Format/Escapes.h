// How texts and byte strings are spelled inside a ticket file: 7-bit characters only, and nothing that the parsing of
// XML or its treatment of white space could change.
#pragma once

#include <string>
#include <string_view>

// The library appends, see below; these two whole forms state the rules, and tests and fuzzers hold them to it.
//
// Escapes control characters, "\", "<", ">", every byte from 0x7F up, and every second space of a run.
std::string EncodeString(std::string const& in);
// The inverse. What is no escape stays as it is; an unfinished escape at the end vanishes; a lone "\" is the empty
// text.
std::string DecodeString(std::string const& in);

// The same, appended to `out`, which must not be what `in` views.
void EncodeTo(std::string& out, std::string_view in);
void DecodeTo(std::string& out, std::string_view in);

// Drops the bytes 0x01 to 0x20 at both ends and makes every run of them inside one space. The result views `in` where
// there is nothing to change inside, otherwise `scratch`, which is overwritten.
std::string_view NormaliseSpace(std::string_view in, std::string& scratch);

// The length of a NUL-terminated text that neither NormaliseSpace nor DecodeTo would change; npos for any other.
std::size_t PlainLength(char const* text);
