// Export macro of the platform stand-in library (om1platform).
#pragma once

#define PLATFORM_API __attribute__((visibility("default")))
