// The memory ticket: each table entry takes the mutex and hands the work to the parameters. Saving, releasing and key
// bookkeeping succeed without doing anything, so that a host may treat both kinds of ticket alike.
#include "TicketImpSMem.h"

STICKET_ACCESS const* STICKET::PCreate(STICKET_WHOAMI const& whoAmI) {
    return (new STICKET_MEM(whoAmI))->GetInterface();
}

STICKET_MEM::STICKET_MEM(STICKET_WHOAMI const& whoAmI) : STICKET(whoAmI), m_access(FRAME::Table(*this)) {}

int STICKET_MEM::GetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index) {
    return FRAME::Run<STICKET_MEM>(
        ticket, [&](STICKET_MEM& self) { return self.m_state->parameters.GetParameter(key, type, value, index); },
        [](int a, int b) { Log(0, "STICKET_MEM::GetParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_MEM::GetMultiParameter(STICKET* ticket, GETMULTIPAR* records) {
    return FRAME::GetBatch<STICKET_MEM>(
        ticket, records, [&](STICKET_MEM& self) { return self.m_state->parameters.GetMultiParameter(records); },
        [](int a, int b) { Log(0, "STICKET_MEM::GetMultiParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_MEM::WalkParameter(STICKET* ticket, STICKET_WALK_CALLBACK callback, void* context, char const* prefix,
                               int level) {
    return FRAME::Run<STICKET_MEM>(
        ticket,
        [&](STICKET_MEM& self) { return self.m_state->parameters.WalkParameter(callback, context, prefix, level); },
        [](int a, int b) { Log(0, "STICKET_MEM::WalkParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_MEM::SetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index) {
    return FRAME::Set<STICKET_MEM>(
        ticket, key, type, value, index,
        [&](STICKET_MEM& self) { return self.m_state->parameters.SetParameter(key, type, value, index); },
        [](int a, int b) { Log(0, "STICKET_MEM::SetParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_MEM::SetMultiParameter(STICKET* ticket, SETMULTIPAR* records) {
    return FRAME::SetBatch<STICKET_MEM>(
        ticket, records, [&](STICKET_MEM& self) { return self.m_state->parameters.SetMultiParameter(records); },
        [](int a, int b) { Log(0, "STICKET_MEM::SetMultiParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_MEM::Operation(STICKET* ticket, STICKET_OP code, void* data) {
    return FRAME::Operate<STICKET_MEM>(
        ticket, code, data, [&](STICKET_MEM& self) { return self.Operation(code, data); },
        [&](int a, int b) { Log(0, "STICKET_MEM::Operation(%d, %d, %d) catch(...)", a, b, static_cast<int>(code)); });
}

int STICKET_MEM::Lock(STICKET* ticket, int number, int* owner, bool lock) {
    return FRAME::Run<STICKET_MEM>(
        ticket, [&](STICKET_MEM& self) { return self.m_locks(number, owner, lock); },
        [&](int a, int b) { Log(0, "STICKET_MEM::Lock(%d, %d, %d) catch(...)", a, b, number); });
}

bool STICKET_MEM::Operation(STICKET_OP code, void* data) {
    switch (code) {
        case STICKET_OP_SAVE:
        case STICKET_OP_RELEASE:
        case STICKET_OP_PARTIAL_KEYS:
            return true;
        case STICKET_OP_CLEAR:
            m_state->parameters.Clear();
            return true;
        default:
            return CommonOperation(code, data);
    }
}
