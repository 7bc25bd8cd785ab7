// This project's stores: the memory ticket and the file ticket, through their function tables.
#include "ConfigurationControl/Ticket.h"
#include "Store.h"

namespace {

class TICKET_STORE final : public STORE {
 public:
    explicit TICKET_STORE(char const* file) : m_table(STICKET::Create(file)) {}
    ~TICKET_STORE() override { STICKET::Destroy(m_table); }

    int GetInt(KEY const& key) override {
        int value = 0;
        m_table->GetParameter(m_table->pTicket, key.full.c_str(), PARAM_INT, &value, SCALAR_INDEX);
        return value;
    }
    double GetDouble(KEY const& key) override {
        double value = 0;
        m_table->GetParameter(m_table->pTicket, key.full.c_str(), PARAM_DOUBLE, &value, SCALAR_INDEX);
        return value;
    }
    std::size_t GetText(KEY const& key) override {
        std::string const copy = Borrowed(key);
        return copy.size();
    }
    std::size_t BorrowText(KEY const& key) override { return std::string_view(Borrowed(key)).size(); }
    void SetInt(KEY const& key, int value) override {
        m_table->SetParameter(m_table->pTicket, key.full.c_str(), PARAM_INT, &value, SCALAR_INDEX);
    }
    void SetDouble(KEY const& key, double value) override {
        m_table->SetParameter(m_table->pTicket, key.full.c_str(), PARAM_DOUBLE, &value, SCALAR_INDEX);
    }
    void SetText(KEY const& key, std::string const& value) override {
        m_table->SetParameter(m_table->pTicket, key.full.c_str(), PARAM_STRING, value.c_str(), SCALAR_INDEX);
    }
    // The first access reads the file; after it every value is in memory with its type, but no text has its stable copy
    // yet.
    void Load() override {
        int value = 0;
        m_table->GetParameter(m_table->pTicket, "first", PARAM_INT, &value, SCALAR_INDEX);
    }
    void Save() override { m_table->Operation(m_table->pTicket, STICKET_OP_SAVE, nullptr); }

 private:
    char const* Borrowed(KEY const& key) {
        char const* value = nullptr;
        m_table->GetParameter(m_table->pTicket, key.full.c_str(), PARAM_STRING, &value, SCALAR_INDEX);
        return value;
    }

    STICKET_ACCESS const* m_table;
};

STORE_REGISTRATION const memory({"memory ticket", false, [](WORKLOAD const&, std::string const&) {
                                     return std::unique_ptr<STORE>(std::make_unique<TICKET_STORE>(nullptr));
                                 }});
STORE_REGISTRATION const file({"file ticket", true, [](WORKLOAD const&, std::string const& name) {
                                   return std::unique_ptr<STORE>(std::make_unique<TICKET_STORE>(name.c_str()));
                               }});

}  // namespace
