// A host as its developer would write it: keeps one setting in a memory ticket and reads it back.
#include <ConfigurationControl/ConfigurationControl.h>

#include <cstdio>

int main() {
    STICKET_ACCESS const* ticket = STICKET::Create(nullptr);
    int const written = 42;
    int read = 0;
    ticket->SetParameter(ticket->pTicket, "Answer", PARAM_INT, &written, SCALAR_INDEX);
    ticket->GetParameter(ticket->pTicket, "Answer", PARAM_INT, &read, SCALAR_INDEX);
    STICKET::Destroy(ticket);
    std::printf("%s %u %d\n", ConfigurationControlVersionString, ConfigurationControlVersionNumber, read);
    return read == written ? 0 : 1;
}
