// The one export macro of the om1 library. The library is built with hidden
// visibility; everything a host may call is marked OM1_API.
#pragma once

#if defined(_WIN32)
#if defined(OM1_BUILDING)
#define OM1_API __declspec(dllexport)
#else
#define OM1_API __declspec(dllimport)
#endif
#else
#define OM1_API __attribute__((visibility("default")))
#endif
