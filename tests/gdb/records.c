// Records of a host in C, in which a PARAM_TYPE is a plain number.
#include "ConfigurationControl/TicketRecords.h"

void Stop(void const* shown);
void StopInC(void);

__attribute__((noinline)) void Stop(void const* shown) {
    __asm__ volatile("" : : "r"(shown) : "memory");
}

void StopInC(void) {
    int const level = 7;
    GETMULTIPAR const recordsInC[] = {{"Log/Level", PARAM_INT, (void*)&level, SCALAR_INDEX, true},
                                      {"Printer", PARAM_VECTOR, 0, SCALAR_INDEX, false},
                                      {"Unknown", 10, 0, SCALAR_INDEX, false},
                                      {0, PARAM_NONE, 0, 0, false}};
    Stop(recordsInC);
}
