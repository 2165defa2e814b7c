// vectorize: the whole trace of one picture, as every front end runs it. The
// options record is checked; the pixels are composited over the background
// colour; the preparation stages run and the tracer traces (om1::Tracer);
// the shapes are built when the result is first read or written (Result).
// Failures come back as the result's status (om1_status), never as
// exceptions, memory running out included.
#pragma once

#include "pipeline/Hooks.h"
#include "pipeline/Picture.h"
#include "pipeline/Result.h"
#include "pipeline/om1types.h"

namespace om1 {

// `options` null means the defaults (OptionTable::defaults).
Result vectorize(const Picture& picture, const om1_options* options, const Hooks* hooks = nullptr);

}  // namespace om1
