/** @file
 * Included first by each header that is for C++ only: tells a program in C which headers it can include.
 */
#ifndef CONFIGURATIONCONTROL_CXXONLY_H
#define CONFIGURATIONCONTROL_CXXONLY_H

#ifndef __cplusplus
#error "this header needs C++; in C, include TicketRecords.h, TicketServices.h and MultiParListC.h"
#endif

#endif
