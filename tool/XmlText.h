// The text of a ticket file as the library's parser reads it, with places for messages.
#pragma once

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>

// Reads a file; throws Failure when it cannot.
std::string ReadWholeFile(std::string const& path);

// "PATH:LINE:COLUMN: ", both counted from 1, columns in bytes.
std::string PlaceOf(std::string const& path, std::string_view text, std::size_t offset);

// Parses as the library does; throws Failure with line and column when that fails. `decode` off leaves entities and
// line ends as they stand, so that what decoding changes can be seen.
std::unique_ptr<pugi::xml_document> ParseTicketText(std::string const& path, std::string const& text,
                                                    bool decode = true);
