// Runs VTracer's default colour mode (the Node binding @neplex/vectorizer)
// on each picture: node peer-vtracer.js OUTDIR REPEAT PICTURE...
// Writes OUTDIR/NAME.svg and prints "PICTURE<TAB>ok|error<TAB>milliseconds"
// per picture; the time covers decoding and tracing, the fastest of REPEAT runs.
"use strict";
const fs = require("fs");
const path = require("path");
const { vectorizeSync } = require("@neplex/vectorizer");

const [outdir, repeatArg, ...pictures] = process.argv.slice(2);
const repeat = Math.max(1, parseInt(repeatArg, 10) || 1);
for (const picture of pictures) {
  const data = fs.readFileSync(picture);
  let svg;
  let ms = Infinity;
  try {
    for (let i = 0; i < repeat; ++i) {
      const start = process.hrtime.bigint();
      svg = vectorizeSync(data);
      ms = Math.min(ms, Number(process.hrtime.bigint() - start) / 1e6);
    }
  } catch (e) {
    console.log(`${picture}\terror\t0`);
    continue;
  }
  const name = path.basename(picture).replace(/\.[^.]*$/, "") + ".svg";
  fs.writeFileSync(path.join(outdir, name), svg);
  console.log(`${picture}\tok\t${ms.toFixed(2)}`);
}
