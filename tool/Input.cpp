#include "Input.h"

#include <filesystem>

#include "XmlText.h"

INPUT::INPUT(std::string const& name) : m_name(name) {
    std::error_code ignored;
    bool const isStandard = name == "-";
    if (!isStandard && !std::filesystem::is_fifo(name, ignored)) return;
    m_copy.emplace();
    m_copy->Take(ReadBytes(name));
    if (isStandard) m_name = "standard input";
}
