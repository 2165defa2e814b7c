// Presets: named sets of TraceOptions (the option table of the pipeline
// names, checks and applies single options on top of them).
//
//   plain    the entry points' behaviour: the nine fixed seeds, no stages
//   graphic  flat colours with anti-aliased edges (logos, icons, clip art):
//            16 colours, anti-alias cleanup, speckle filter of 1/2000 of the
//            picture's area (at least 4 pixels), tracer tolerance 0. The
//            default: on anti-aliased art it writes about as many paths as
//            the source has shapes, and on photographs it still gives a
//            usable picture.
//   photo    natural pictures: 16 colours, anti-alias cleanup, speckle 6,
//            regions merged (cheap unions until the picture has lost 3 dB,
//            further ones while it stays at 29.7 dB) in the mean colour of
//            the pixels they cover, curve tolerance 6: about VTracer's
//            segments or fewer at a PSNR at least 1 dB better
//   bw       black and white by a luminance threshold (chosen from the
//            picture, Otsu), speckle 8
//   pixel    hard-edged pixel art: exact colours, every region kept, drawn
//            as exact polygons (polygonOutput)
#pragma once

#include <string>

#include "prepare/TraceOptions.h"

namespace om1 {

class Presets {
public:
    enum Preset { Plain, Graphic, Photo, Bw, Pixel };
    static const Preset kDefault = Graphic;

    // The preset of a name ("plain", "graphic", "photo", "bw", "pixel").
    static bool parse(const std::string& name, Preset& out);
    static const char* name(Preset p);
    // Options of a preset (the fields it does not name keep their defaults).
    static TraceOptions options(Preset p);
    // Whether the preset's output is exact polygons rather than curves.
    static bool polygonOutput(Preset p);
    // Switches off every stage that changes colours (threshold, filter,
    // colours, palette, anti-alias cleanup, speckle, restitution, merging,
    // spots, path limit) and the colour tolerance: what exact polygons need
    // to be lossless, whatever the preset.
    static void exactColours(TraceOptions& options);
};

}  // namespace om1
