// A host whose program exports functions of another version of the XML library: the dynamic linker prefers them
// wherever a library leaves the choice.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <string>

#include "ConfigurationControl/Ticket.h"

namespace {

bool g_isHostsCalled = false;

}  // namespace

// The host's version: the names of the library's functions, which fail. pugixml.hpp is not included.
namespace pugi {

enum xml_encoding { encoding_auto };

struct xml_parse_result {
    int status;
    std::ptrdiff_t offset;
    xml_encoding encoding;
};

class __attribute__((visibility("default"))) xml_document {
 public:
    xml_parse_result load_buffer(void const*, std::size_t, unsigned int, xml_encoding);
    xml_parse_result load_buffer_inplace(void*, std::size_t, unsigned int, xml_encoding);
};

xml_parse_result xml_document::load_buffer(void const*, std::size_t, unsigned int, xml_encoding) {
    g_isHostsCalled = true;
    return {4, 0, encoding_auto};
}
xml_parse_result xml_document::load_buffer_inplace(void*, std::size_t, unsigned int, xml_encoding) {
    g_isHostsCalled = true;
    return {4, 0, encoding_auto};
}

}  // namespace pugi

TEST(OwnXmlLibrary, OfAHostIsNotCalledByTheLibrary) {
    std::string const name = testing::TempDir() + "own_xml_library.xml";
    // The comment makes the library read the file by the XML library.
    std::ofstream(name) << "<?xml version=\"1.0\"?><ticket><!-- c --><Key type=\"int\">9</Key></ticket>";
    STICKET_ACCESS const* ticket = STICKET::Create(name.c_str());
    int value = 0;
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "Key", PARAM_INT, &value, SCALAR_INDEX), 1);
    EXPECT_EQ(value, 9);
    EXPECT_FALSE(g_isHostsCalled);
    STICKET::Destroy(ticket);
    std::remove(name.c_str());
}
