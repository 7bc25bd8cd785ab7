// Peer: RapidJSON, which parses a document within the text of its file. Its usual options, which are its fastest:
// numbers with a fraction may differ from the text in their last bits.
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <stdexcept>

#include "Store.h"

namespace {

class RAPID_JSON {
 public:
    using MUTEX = std::mutex;

    RAPID_JSON(WORKLOAD const& workload, std::string const& file) : m_file(file), m_paths(PathsOf(workload)) {
        m_document.SetObject();
    }

    int GetInt(KEY const& key) { return Find(key).GetInt(); }
    double GetDouble(KEY const& key) { return Find(key).GetDouble(); }
    std::size_t GetText(KEY const& key) {
        rapidjson::Value const& value = Find(key);
        std::string const copy(value.GetString(), value.GetStringLength());
        return copy.size();
    }
    void SetInt(KEY const& key, int value) { Place(key).SetInt(value); }
    void SetDouble(KEY const& key, double value) { Place(key).SetDouble(value); }
    void SetText(KEY const& key, std::string const& value) {
        Place(key).SetString(value.data(), static_cast<rapidjson::SizeType>(value.size()), m_document.GetAllocator());
    }
    void Load() {
        m_text = FileText(m_file);
        if (m_document.ParseInsitu(m_text.data()).HasParseError()) throw std::runtime_error("no JSON: " + m_file);
    }
    void Save() {
        rapidjson::StringBuffer text;
        rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
        writer.SetIndent('\t', 1);
        m_document.Accept(writer);
        WriteDurably(m_file, {text.GetString(), text.GetSize()});
    }

 private:
    static rapidjson::Value Name(std::string const& component) {
        return rapidjson::Value(rapidjson::StringRef(component.data(), component.size()));
    }
    rapidjson::Value& Find(KEY const& key) {
        rapidjson::Value* place = &m_document;
        for (std::string const& component : m_paths[key.number]) place = &place->FindMember(Name(component))->value;
        return *place;
    }
    rapidjson::Value& Place(KEY const& key) {
        rapidjson::Value* place = &m_document;
        for (std::string const& component : m_paths[key.number]) {
            auto found = place->FindMember(Name(component));
            if (found == place->MemberEnd()) {
                rapidjson::Value name(component.data(), static_cast<rapidjson::SizeType>(component.size()),
                                      m_document.GetAllocator());
                place->AddMember(name, rapidjson::Value(rapidjson::kObjectType), m_document.GetAllocator());
                found = place->MemberEnd() - 1;
            }
            place = &found->value;
        }
        return *place;
    }

    std::string m_file;
    std::vector<std::vector<std::string>> m_paths;
    std::string m_text;  // in which the document lies
    rapidjson::Document m_document;
};

STORE_REGISTRATION const registration({"RapidJSON", true, GUARDED<RAPID_JSON>::Make});

}  // namespace
