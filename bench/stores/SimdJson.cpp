// Floor: simdjson parses what RapidJSON has written, with its document model. It cannot change or write a document.
#include <simdjson.h>

#include "Store.h"

namespace {

class SIMD_JSON : public ONLY_LOADED {
 public:
    using MUTEX = std::mutex;

    SIMD_JSON(WORKLOAD const&, std::string const& file) : m_file(file) {}

    void Load() { m_document = m_parser.load(m_file); }

 private:
    std::string m_file;
    simdjson::dom::parser m_parser;  // owns the document
    simdjson::dom::element m_document;
};

STORE_REGISTRATION const registration({"F4 simdjson", false, GUARDED<SIMD_JSON>::Make, USE::LOADS, "RapidJSON"});

}  // namespace
