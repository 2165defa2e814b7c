// Stand-in for the framework's root class: a virtual destructor and nothing else.
#pragma once

#include "platform/PlatformExport.h"

class PLATFORM_API CObject {
public:
    virtual ~CObject() {}
};
