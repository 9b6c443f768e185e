#pragma once
// Symbols of the platform library that its users (the task library, the tool, tests) may call.
#if defined(KO_PLATFORM_BUILDING)
#define KO_PLATFORM_API __attribute__((visibility("default")))
#else
#define KO_PLATFORM_API __attribute__((visibility("default")))
#endif
#define KO_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
