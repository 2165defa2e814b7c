// stb_image and stb_image_write compiled from their header-only sources, for
// builds without Debian's libstb (Windows).
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image.h"
#include "stb_image_write.h"
