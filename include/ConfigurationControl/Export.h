/** @file
 * Marks what leaves the shared library. Everything else is hidden. C11 and C++.
 */
#ifndef CONFIGURATIONCONTROL_EXPORT_H
#define CONFIGURATIONCONTROL_EXPORT_H

/** Placed before a declaration whose symbol hosts may link to or look up with `dlsym`. */
#if defined(__GNUC__)
#define CONFIGURATIONCONTROL_API __attribute__((visibility("default")))
/** Placed before a member of an exported class that stays inside the library. */
#define CONFIGURATIONCONTROL_LOCAL __attribute__((visibility("hidden")))
#else
#define CONFIGURATIONCONTROL_API
#define CONFIGURATIONCONTROL_LOCAL
#endif

#endif
