/** @file
 * The version of the library that was loaded. C11 and C++.
 */
#ifndef CONFIGURATIONCONTROL_VERSION_H
#define CONFIGURATIONCONTROL_VERSION_H

#include "ConfigurationControl/Export.h"

#ifdef __cplusplus
extern "C" {
#endif
/** major * 10000 + minor * 100 + patch. */
CONFIGURATIONCONTROL_API extern unsigned int const ConfigurationControlVersionNumber;
/** "major.minor.patch". */
CONFIGURATIONCONTROL_API extern char const ConfigurationControlVersionString[];
#ifdef __cplusplus
}
#endif

#endif
