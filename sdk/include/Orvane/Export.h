/* Symbol visibility of the Orvane SDK. Everything is hidden unless marked. */
#ifndef ORVANE_EXPORT_H
#define ORVANE_EXPORT_H

#if defined(__GNUC__)
#define ORVANE_API __attribute__((visibility("default")))
#define ORVANE_LOCAL __attribute__((visibility("hidden")))
#else
#define ORVANE_API
#define ORVANE_LOCAL
#endif

#endif
