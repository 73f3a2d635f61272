#pragma once

// Every public class is exported whole, so the library's boundary is its set of classes.
// The library is built with hidden visibility; SHARED_API marks what crosses the boundary.
// A static library has no boundary, so SHARED_API is empty there.
#if defined(SHARED_STATIC)
#define SHARED_API
#elif defined(_WIN32)
#if defined(SHARED_BUILDING_LIBRARY)
#define SHARED_API __declspec(dllexport)
#else
#define SHARED_API __declspec(dllimport)
#endif
#else
#define SHARED_API __attribute__((visibility("default")))
#endif
