/** @file
 * Helpers for arrays of batch records. None of them locks or throws; all accept null.
 */
#ifndef CONFIGURATIONCONTROL_MULTIPAR_H
#define CONFIGURATIONCONTROL_MULTIPAR_H

#include "ConfigurationControl/CxxOnly.h"

#include "ConfigurationControl/TicketRecords.h"

/**
 * Allocates an array that reads `count` elements of one vector. Record i has `key` (the pointer, not a copy), `type`,
 * index i, a null value and a false result; an all-zero record ends the array.
 * @return the array, to be released with `free`; null when memory is short or `count` is above 2147483647
 */
CONFIGURATIONCONTROL_API GETMULTIPAR* NewGetMultipar(unsigned long count, char const* key, PARAM_TYPE type);

/**
 * Allocates an array that rewrites one key as exactly `count` values: as NewGetMultipar, but record 0 has SCALAR_INDEX,
 * so it replaces the old value and the later records append. One value stays a scalar.
 * @return the array, to be released with `free`; null when memory is short or `count` is above 2147483647
 */
CONFIGURATIONCONTROL_API SETMULTIPAR* NewSetMultipar(unsigned long count, char const* key, PARAM_TYPE type);

/** Whether every record succeeded. True for an array without records, false for null. Ends at a null key only: unlike
 * the batch itself it counts a record with an empty key. */
CONFIGURATIONCONTROL_API bool AllMultiParameterOk(GETMULTIPAR const* records);
/** @copydoc AllMultiParameterOk(GETMULTIPAR const*) */
CONFIGURATIONCONTROL_API bool AllMultiParameterOk(SETMULTIPAR const* records);

/** Whether at least one record succeeded. Ends at a null key only. */
CONFIGURATIONCONTROL_API bool AnyMultiParameterOk(GETMULTIPAR const* records);
/** @copydoc AnyMultiParameterOk(GETMULTIPAR const*) */
CONFIGURATIONCONTROL_API bool AnyMultiParameterOk(SETMULTIPAR const* records);

/** Copies the result fields position by position until either array ends at a null key. Nothing else is compared. */
CONFIGURATIONCONTROL_API void MultiParameterResultCpy(SETMULTIPAR* destination, SETMULTIPAR const* source);

/**
 * Copies an array with its terminator (a null key). Keys and values are shared with the original.
 * @return the copy, to be released with `free`; null for null or when memory is short
 */
CONFIGURATIONCONTROL_API SETMULTIPAR* MultiParameterDup(SETMULTIPAR const* records);

#endif
