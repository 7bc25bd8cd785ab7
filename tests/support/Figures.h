// Numbers that a test measures and docs/reliability.md quotes: `ctest --preset dev -V -L crash | grep figure`.
#pragma once

#include <gtest/gtest.h>

#include <iostream>
#include <string>

template <typename NUMBER>
void Figure(std::string const& what, NUMBER number) {
    std::cout << "figure: " << what << ": " << number << std::endl;
    testing::Test::RecordProperty("figure " + what, std::to_string(number));
}
