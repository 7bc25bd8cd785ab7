/** @file
 * The batch list for callers that use only plain functions and records. C11 and C++.
 *
 * The handle names a SETMULTIPAR_LIST. A null handle is accepted everywhere. No locking: one thread at a time per list.
 * No exception leaves these functions; if memory is exhausted they return what they return for a null handle.
 */
#ifndef CONFIGURATIONCONTROL_MULTIPARLISTC_H
#define CONFIGURATIONCONTROL_MULTIPARLISTC_H

#include "ConfigurationControl/TicketRecords.h"

#ifdef __cplusplus
class SETMULTIPAR_LIST;
extern "C" {
#else
typedef struct SETMULTIPAR_LIST SETMULTIPAR_LIST;
#endif

/** A new empty list, to be given to MultiParListDestroy. */
CONFIGURATIONCONTROL_API SETMULTIPAR_LIST* MultiParListCreate(void);

/** Destroys the list that `*handle` names and sets `*handle` to null. A null pointer or handle does nothing. */
CONFIGURATIONCONTROL_API void MultiParListDestroy(SETMULTIPAR_LIST** handle);

/** Number of records added; 0 for a null handle. */
CONFIGURATIONCONTROL_API unsigned long MultiParListSize(SETMULTIPAR_LIST const* handle);

/**
 * The records as a terminated array for STICKET_ACCESS::SetMultiParameter, or null when there are none.
 * @param handle null gives null
 * @param sort when its low byte is not zero the records are put in key order first, equal keys keeping their order
 * @return owned by the list; valid until the next addition, a sort, or destruction
 */
CONFIGURATIONCONTROL_API SETMULTIPAR* MultiParListTable(SETMULTIPAR_LIST* handle, int sort);

/**
 * Adds one record. Key and value are copied; types 0, 1 and 6 and unknown types keep the `value` pointer as it is.
 * @return false for a null handle
 */
CONFIGURATIONCONTROL_API bool MultiParListSetParameter(SETMULTIPAR_LIST* handle, char const* key, PARAM_TYPE type,
                                                       void const* value, int index);

#ifdef __cplusplus
}
#endif

#endif
