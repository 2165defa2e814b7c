#include "prepare/Presets.h"

namespace om1 {

bool Presets::parse(const std::string& n, Preset& out) {
    static const Preset all[] = {Plain, Graphic, Photo, Bw, Pixel};
    for (Preset p : all)
        if (n == name(p)) {
            out = p;
            return true;
        }
    return false;
}

const char* Presets::name(Preset p) {
    switch (p) {
        case Plain:
            return "plain";
        case Graphic:
            return "graphic";
        case Photo:
            return "photo";
        case Bw:
            return "bw";
        case Pixel:
            return "pixel";
    }
    return "plain";
}

TraceOptions Presets::options(Preset p) {
    TraceOptions o;
    switch (p) {
        case Plain:
            o.seed = TraceOptions::Seed::Fixed;
            break;
        case Graphic:
            // 16 colours, then neighbouring regions merged by what their
            // union costs: gradient bands and noise go, small dark details
            // (pupils, outlines) stay. On the anti-aliased art of the corpus
            // this keeps fewer paths than a speckle area of 1/2000 of the
            // picture, at a better render-back PSNR on large pictures.
            o.colors = 16;
            o.antialias = true;
            o.antialiasRadius = 3;
            // Only single pixels and pairs go by area: the merging takes
            // the rest by colour, which keeps thin lines the area would cut.
            o.speckle = 2;
            o.merge = 20;
            // ... until the picture in region means has lost 10 dB: thin
            // bands of their own colour (shadows under shapes) stay where
            // merging them would cost that much.
            o.mergeDrop = 10;
            // Shadows and glows keep a few steps of opacity.
            o.alphaLevels = 4;
            o.tolerancePercent = 0;
            break;
        case Photo:
            // 16 colours, small speckles, then regions merged while the
            // picture painted in region means stays at 29.7 dB from the
            // input, and the cheap unions (below 1.5) until it has lost 3 dB:
            // smooth skies and wood become a few regions, detailed pictures
            // lose their least visible ones but keep the rest. Outlines
            // within 0.6 px of the boundary (curve tolerance 2; looser fits
            // are still tried where two regions' colours are close, and
            // a much looser base leaves the staircase truer to the picture
            // on hard edges). On the photographs of the corpus this writes
            // fewer segments than VTracer at a PSNR at least 1 dB better.
            o.colors = 16;
            o.antialias = true;
            o.speckle = 6;
            o.merge = 1.5;
            o.mergePsnr = 29.7;
            o.mergeDrop = 3;
            o.curveTolerance = 2;
            o.alphaLevels = 4;
            o.tolerancePercent = 0;
            break;
        case Bw:
            o.threshold = TraceOptions::kAutoThreshold;
            o.speckle = 8;
            o.tolerancePercent = 0;
            break;
        case Pixel:
            o.tolerancePercent = 0;
            o.minOutlineLen = 0;
            break;
    }
    o.exactRegions = p != Plain;
    return o;
}

bool Presets::polygonOutput(Preset p) {
    return p == Pixel;
}

void Presets::exactColours(TraceOptions& o) {
    o.tolerancePercent = 0;
    o.threshold = -1;
    o.filter = TraceOptions::Filter::None;
    o.colors = 0;
    o.paletteCount = 0;
    o.antialias = false;
    o.speckle = 0;
    o.speckleShare = 0;
    o.restitute = false;
    o.merge = 0;
    o.mergePsnr = 0;
    o.mergeDrop = 0;
    o.spots = 0;
    o.maxPaths = 0;
}

}  // namespace om1
