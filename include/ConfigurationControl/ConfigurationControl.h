/** @file
 * Everything for C++ hosts. Those in C include TicketRecords.h, TicketServices.h, MultiParListC.h and Version.h.
 */
/** @mainpage
 * One page for each header. Where to begin:
 *
 * - settings of the application: IConfigurationControl, from GetConfigurationControl();
 * - your own store, in memory or bound to a file: STICKET::Create and the table it returns, STICKET_ACCESS;
 * - whole vectors, arrays and file names: STICKET_READ and STICKET_MODIFY;
 * - many values at once: SETMULTIPAR_LIST, and PARTIAL_MODE to select some;
 * - changes of a ticket, and copies under its mutex: TicketAddObserver and TicketRunLocked;
 * - from plain C: STICKET_INSTANCE, and MultiParListCreate and its companions.
 *
 * The host guide, docs/host-guide.md, shows all of this at work and tells how long each pointer lives. What a file does
 * not keep is in docs/file-format.md.
 */
#ifndef CONFIGURATIONCONTROL_CONFIGURATIONCONTROL_H
#define CONFIGURATIONCONTROL_CONFIGURATIONCONTROL_H

#include "ConfigurationControl/CxxOnly.h"

#include "ConfigurationControl/CharSets.h"
#include "ConfigurationControl/ConfigurationCtrl.h"
#include "ConfigurationControl/IConfigurationControl.h"
#include "ConfigurationControl/LoggerAdapter/ILogger.h"
#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/MultiParListC.h"
#include "ConfigurationControl/PartialMode.h"
#include "ConfigurationControl/Semaphore.h"
#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/SysLib.h"
#include "ConfigurationControl/ThreadBase.h"
#include "ConfigurationControl/Ticket.h"
#include "ConfigurationControl/TicketAccess.h"
#include "ConfigurationControl/TicketRecords.h"
#include "ConfigurationControl/TicketServices.h"
#include "ConfigurationControl/ValueCaches.h"
#include "ConfigurationControl/Version.h"

#endif
