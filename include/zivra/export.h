#pragma once

/// Marks what the shared library exports; the static library defines ZIVRA_STATIC.
#if defined(ZIVRA_STATIC)
#define ZIVRA_API
#elif defined(_WIN32)
#if defined(ZIVRA_BUILDING)
#define ZIVRA_API __declspec(dllexport)
#else
#define ZIVRA_API __declspec(dllimport)
#endif
#else
#define ZIVRA_API __attribute__((visibility("default")))
#endif
