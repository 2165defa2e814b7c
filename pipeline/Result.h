// Result: what vectorize made of one picture: its status, the trace layer's
// report, and the shapes, built from the traced tree when first asked for
// (the drawing formats' view and the per-outline view each at most once;
// reading a result from several threads at once is safe). Writes any format.
#pragma once

#include <memory>
#include <ostream>

#include "pipeline/Hooks.h"
#include "pipeline/Picture.h"
#include "pipeline/om1types.h"
#include "prepare/TraceReport.h"
#include "shapes/Shape.h"
#include "writers/OutputFormat.h"

namespace om1 {

class Result {
public:
    Result();
    ~Result();
    Result(Result&&) noexcept;
    Result& operator=(Result&&) noexcept;

    // OM1_OK, or why nothing was traced (the other accessors then give
    // nothing: null shapes, zero counts).
    int status() const;
    int width() const;
    int height() const;
    // The options the picture was traced with (checked).
    const om1_options& options() const;
    const TraceReport& report() const;
    // Milliseconds of the stages and the tracer; of building the views built
    // so far (read it when no other thread is building one).
    double traceMs() const;
    double shapesMs() const;

    // The shapes as the drawing formats write them: in the stacked layout
    // touching parts of one colour are one shape (OutputOptions::joinParts).
    // Null when the status is not OM1_OK or memory ran out.
    const ShapeSet* drawing() const;
    // One shape per traced outline, as the JSON writer and the regions of the
    // C interface give them; the drawing itself in the cutout layout. Shape i
    // of both views is the same region.
    const ShapeSet* outlines() const;
    // Whether the writers leave a shape out: the empty region of a picture
    // traced with transparency (it has no loops either).
    bool hidden(const Shape& shape) const;
    // Counts of what a format writes (the drawing formats alike; JSON keeps
    // every outline and leaves nothing out): OM1_OK, or the status, or
    // OM1_OUT_OF_MEMORY.
    // With `hooks`, the shapes are built first as shapes() builds them.
    int stats(om1_stats& out, OutputFormat::Kind kind = OutputFormat::Kind::Svg,
              const Hooks* hooks = nullptr) const;
    // Builds the view a format writes, telling hooks->progress (the shapes'
    // span of the job, see Progress): OM1_OK, the status, OM1_OUT_OF_MEMORY,
    // or OM1_CANCELLED when the host asked to stop (a later call builds the
    // view again).
    int shapes(OutputFormat::Kind kind, const Hooks* hooks) const;
    // Writes the result in a format (JSON from the per-outline view, the
    // others from the drawing): OM1_OK, the status, OM1_OUT_OF_MEMORY, or
    // OM1_WRITE_FAILED when the stream failed. With `hooks`, the shapes and
    // the writing report progress; a stop while writing leaves the stream
    // failed and part written (OM1_CANCELLED).
    int write(std::ostream& out, OutputFormat::Kind kind, const Hooks* hooks = nullptr) const;

    // A sentence for a status code (never null).
    static const char* message(int status);

    // What a result holds (ResultState.h; the pipeline's own).
    struct State;

private:
    friend Result vectorize(const Picture& picture, const om1_options* options, const Hooks* hooks);
    std::unique_ptr<State> state_;
};

}  // namespace om1
