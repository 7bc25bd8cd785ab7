// Types of a host, as the tests of the typed store use them.
#pragma once

#include <optional>
#include <string>

#include "ConfigurationControl/Store.h"

enum class Theme { light, dark, unnamed };
template <>
inline constexpr auto ticket::names<Theme> = ticket::names_of<Theme>({{Theme::light, "light"},
                                                                      {Theme::dark, "dark & deep"}});

enum class Unit : unsigned char { mm, inch = 7 };

struct Point {
    int x = 0;
    int y = 0;
    bool operator==(Point const& other) const { return x == other.x && y == other.y; }
};
template <>
inline constexpr auto ticket::members<Point> = ticket::members_of(ticket::Member{"X", &Point::x},
                                                                  ticket::Member{"Y", &Point::y});

struct Window {
    Point place;
    std::string title = "none";
    std::optional<double> zoom;
    bool operator==(Window const& other) const {
        return place == other.place && title == other.title && zoom == other.zoom;
    }
};
template <>
inline constexpr auto ticket::members<Window> = ticket::members_of(ticket::Member{"Place", &Window::place},
                                                                   ticket::Member{"Title", &Window::title},
                                                                   ticket::Member{"Zoom", &Window::zoom});

struct Colour {
    int rgb = 0;
    bool operator==(Colour const& other) const { return rgb == other.rgb; }
};
template <>
struct ticket::Codec<Colour> {
    using Stored = std::string;
    static std::string encode(Colour const& colour) { return "#" + std::to_string(colour.rgb); }
    static std::optional<Colour> decode(std::string const& text) {
        if (text.size() < 2 || text[0] != '#') return std::nullopt;
        return Colour{std::stoi(text.substr(1))};
    }
};
