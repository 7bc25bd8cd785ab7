// The ticket that lives in memory only.
#pragma once

#include "TicketImpSBase.h"

class STICKET_MEM : public STICKET {
 public:
    explicit STICKET_MEM(STICKET_WHOAMI const& whoAmI);

    STICKET_ACCESS const* GetInterface() const override { return &m_access; }

    // The table entries; see STICKET_ACCESS.
    static int GetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index);
    static int GetMultiParameter(STICKET* ticket, GETMULTIPAR* records);
    static int WalkParameter(STICKET* ticket, STICKET_WALK_CALLBACK callback, void* context, char const* prefix,
                             int level);
    static int SetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index);
    static int SetMultiParameter(STICKET* ticket, SETMULTIPAR* records);
    static int Operation(STICKET* ticket, STICKET_OP code, void* data);
    static int Lock(STICKET* ticket, int number, int* owner, bool lock);

 protected:
    // Performs a code; runs under the mutex.
    bool Operation(STICKET_OP code, void* data);

 private:
    STICKET_ACCESS const m_access;
    TICKETLOCKS m_locks;
};
