/** @file
 * Marks what leaves the shared library. Everything else is hidden. C11 and C++.
 */
#ifndef CONFIGURATIONCONTROL_EXPORT_H
#define CONFIGURATIONCONTROL_EXPORT_H

/** Placed before a declaration whose symbol hosts may link to or look up with `dlsym`. */
#if defined(__GNUC__)
#define CONFIGURATIONCONTROL_API __attribute__((visibility("default")))
#else
#define CONFIGURATIONCONTROL_API
#endif

#endif
