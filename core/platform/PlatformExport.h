// Export macro of the platform library (om1platform). On Windows the
// library's own build (CMake defines om1platform_EXPORTS there) exports,
// everyone else imports.
#pragma once

#if defined(_WIN32)
#if defined(om1platform_EXPORTS)
#define PLATFORM_API __declspec(dllexport)
#else
#define PLATFORM_API __declspec(dllimport)
#endif
#else
#define PLATFORM_API __attribute__((visibility("default")))
#endif
