// The bitmap calls of the Windows graphics interface that the system uses:
// DIB sections, memory device contexts, and the reads and writes of
// device-independent bits.
//
// On Windows these are the system's own (windows.h, gdi32); this header then
// adds only GetSelectedBitmap. Elsewhere they are an in-memory stand-in,
// described here:
//
// DIB sections own their pixels; device contexts only hold the selected bitmap.
//
// Bitmaps are 8 or 32 bits per pixel. A positive biHeight means the rows are
// stored bottom-up (the first row in memory is the bottom row of the
// picture), a negative one top-down. Rows are padded to a multiple of 4 bytes.
//
// When 32-bit pixels are read as 8-bit indices, every pixel is mapped to the
// fixed 256-colour table below (3 bits red, 3 bits green, 2 bits blue; index
// r << 5 | g << 2 | b, each channel rounded to its nearest level), and that
// table is written into the caller's colour table.
//
// The colour table of a BITMAPINFO is read and written biSize bytes after
// its start, where the header ends.
//
// Every handle is checked: a null, stale or foreign handle, a bad header or an
// unsupported bit count gives 0 (or null) and touches nothing.
#pragma once

#include "platform/PlatformExport.h"
#include "platform/WinTypes.h"

// The bitmap selected into a device context, or null when none is (on
// Windows: when the context still holds its initial 1x1 bitmap) or the
// handle is bad.
PLATFORM_API HBITMAP GetSelectedBitmap(HDC hdc);

#if !defined(_WIN32)

// Creates a bitmap owning zero-filled pixels in the format of pbmi (8 or 32
// bits, BI_RGB, width > 0, height != 0). An 8-bit bitmap takes its colour
// table from pbmi (biClrUsed entries, or 256 when that is 0). *ppvBits
// receives the pixels when ppvBits is not null. Null on bad input or when
// memory is short. hdc, usage, hSection and offset are accepted and ignored.
PLATFORM_API HBITMAP CreateDIBSection(HDC hdc, const BITMAPINFO* pbmi, UINT usage, void** ppvBits,
                                      HANDLE hSection, DWORD offset);

// Releases a bitmap made by CreateDIBSection. FALSE for anything else.
PLATFORM_API BOOL DeleteObject(HGDIOBJ object);

// A memory device context (the argument is ignored). DeleteDC releases it.
PLATFORM_API HDC CreateCompatibleDC(HDC hdc);
PLATFORM_API BOOL DeleteDC(HDC hdc);
// Selects a bitmap into a device context; returns the previously selected
// one (null when none), or null on a bad handle.
PLATFORM_API HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object);

// Fills a BITMAP (32 bytes) for a bitmap handle: bmWidth, bmHeight (always
// positive), bmWidthBytes (the padded row), bmPlanes 1, bmBitsPixel, bmBits.
// With pv null returns the size needed; with count < sizeof(BITMAP) or a bad
// handle returns 0. Otherwise returns sizeof(BITMAP).
PLATFORM_API int GetObjectW(HANDLE h, int count, LPVOID pv);

// Reads lines of a bitmap into bits in the format described by pbmi.
// - bits null and biBitCount 0: fills the header only and returns 1: width,
//   the positive height (a bottom-up description, whatever the bitmap's own
//   row order, as the system's GDI gives it), planes 1, bit count, BI_RGB,
//   biSizeImage of the whole bitmap, biClrUsed 0 (a full table).
// - otherwise biBitCount must be 8 or 32 and |biWidth| the bitmap's width;
//   biHeight > 0 asks for bottom-up lines, < 0 for top-down. Scan lines
//   start .. start + lines - 1 (clamped to the height) are copied with rows
//   padded to 4 bytes; 32 to 8 bits goes through the fixed table above, 8 to
//   32 bits through the bitmap's own table; for an 8-bit read the colour
//   table used is written into pbmi's colour table (256 entries, which the
//   caller makes room for behind the header; biClrUsed is set to 0). Returns the number of lines
//   copied, 0 on bad input.
PLATFORM_API int GetDIBits(HDC hdc, HBITMAP hbm, UINT start, UINT lines, LPVOID bits,
                           BITMAPINFO* pbmi, UINT usage);

// The reverse of GetDIBits: writes lines given in pbmi's format into the
// bitmap. 8-bit source indices become colours through pbmi's colour table
// (biClrUsed entries, or 256); 32-bit colours written into an 8-bit bitmap
// take the index of the nearest entry of the bitmap's table (largest channel
// difference, lowest index on ties). Returns the lines written, 0 on bad input.
PLATFORM_API int SetDIBits(HDC hdc, HBITMAP hbm, UINT start, UINT lines, const void* bits,
                           const BITMAPINFO* pbmi, UINT usage);

// The fixed 256-colour table used for 32-to-8-bit reads, and the index a
// colour maps to.
PLATFORM_API const RGBQUAD* GdiFixedPalette();
PLATFORM_API BYTE GdiFixedPaletteIndex(BYTE red, BYTE green, BYTE blue);

#endif  // !_WIN32
