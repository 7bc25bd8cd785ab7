// The lower bound for service_process: only parses the same file with the XML library.
// usage: parse_process FILE
#include <pugixml.hpp>

int main(int count, char** arguments) {
    if (count != 2) return 1;
    pugi::xml_document document;
    return document.load_file(arguments[1], pugi::parse_full | pugi::parse_ws_pcdata_single, pugi::encoding_utf8) ? 0
                                                                                                                  : 2;
}
