#pragma once

// Every public class is exported whole, so the library's boundary is its set of classes.
// The library is built with hidden visibility; SHARED_API marks what crosses the boundary.
#if defined(_WIN32)
#if defined(SHARED_BUILDING_LIBRARY)
#define SHARED_API __declspec(dllexport)
#else
#define SHARED_API __declspec(dllimport)
#endif
#else
#define SHARED_API __attribute__((visibility("default")))
#endif
