// OptionsRecord: the options record (om1_options) as the layers below take
// it: the trace layer's TraceOptions and the shape builder's OutputOptions.
// The one place where the record's fields meet the layers' own.
#pragma once

#include "pipeline/om1types.h"
#include "prepare/TraceOptions.h"
#include "shapes/OutputOptions.h"

namespace om1 {

class OptionsRecord {
public:
    // The trace layer's options of a checked record.
    static TraceOptions toTrace(const om1_options& o);
    // The shape builder's options (layout, polygons, curve fit, correction
    // against the picture); joinParts is the caller's.
    static OutputOptions toOutput(const om1_options& o);
    // The record's trace fields from the trace layer's options (presets are
    // defined there); the other fields keep their values.
    static void fromTrace(const TraceOptions& t, om1_options& o);
};

}  // namespace om1
