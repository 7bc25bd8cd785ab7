/** @file
 * Everything a C++ host can use. Hosts in plain C include TicketRecords.h, MultiParListC.h and Version.h.
 */
#ifndef CONFIGURATIONCONTROL_CONFIGURATIONCONTROL_H
#define CONFIGURATIONCONTROL_CONFIGURATIONCONTROL_H

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
#include "ConfigurationControl/ValueCaches.h"
#include "ConfigurationControl/Version.h"

#endif
