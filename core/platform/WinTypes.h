// Windows base types, records and constants with the sizes and layouts a Windows
// host relies on. On Windows they are the system's own (windows.h, lean, with
// STRICT handles and without the min/max macros); elsewhere they are declared
// here with the same layouts (LP64 build: LONG and DWORD stay 32 bits).
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef STRICT
#define STRICT
#endif
#include <windows.h>

#else

typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef unsigned int UINT;
typedef int BOOL;
#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif
typedef void* LPVOID;

struct POINT {
    LONG x;
    LONG y;
};

struct RGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};

struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};

struct BITMAP {
    LONG bmType;
    LONG bmWidth;
    LONG bmHeight;
    LONG bmWidthBytes;
    WORD bmPlanes;
    WORD bmBitsPixel;
    LPVOID bmBits;
};

// Opaque handles, distinct types as with STRICT on Windows.
struct HBITMAP__;
struct HDC__;
typedef HBITMAP__* HBITMAP;
typedef HDC__* HDC;
typedef void* HGDIOBJ;
typedef void* HANDLE;

enum : DWORD { BI_RGB = 0 };
enum : UINT { DIB_RGB_COLORS = 0 };
enum : UINT { MB_OK = 0 };

#define RGB(r, g, b) ((DWORD)(((BYTE)(r)) | ((DWORD)((BYTE)(g)) << 8) | ((DWORD)((BYTE)(b)) << 16)))

#endif  // _WIN32

static_assert(sizeof(BYTE) == 1 && sizeof(WORD) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4,
              "Windows integer sizes");
static_assert(sizeof(POINT) == 8, "POINT is two LONGs");
static_assert(sizeof(RGBQUAD) == 4, "RGBQUAD is four bytes, blue first");
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");
static_assert(offsetof(BITMAPINFO, bmiColors) == 40, "colour table follows the header");
// With pointers: the 64-bit layout hosts rely on. The WebAssembly build
// (32-bit pointers) has no host outside its own module to share it with.
#if UINTPTR_MAX > 0xFFFFFFFFu
static_assert(sizeof(BITMAP) == 32, "BITMAP is 32 bytes in a 64-bit build");
#endif
