// Runs VTracer's default colour mode (the Node binding @neplex/vectorizer)
// on each picture: node peer-vtracer.js OUTDIR PICTURE...
// Writes OUTDIR/NAME.svg and prints "PICTURE<TAB>ok|error<TAB>milliseconds"
// per picture; the time covers decoding and tracing.
"use strict";
const fs = require("fs");
const path = require("path");
const { vectorizeSync } = require("@neplex/vectorizer");

const [outdir, ...pictures] = process.argv.slice(2);
for (const picture of pictures) {
  const data = fs.readFileSync(picture);
  const start = process.hrtime.bigint();
  let svg;
  try {
    svg = vectorizeSync(data);
  } catch (e) {
    console.log(`${picture}\terror\t0`);
    continue;
  }
  const ms = Number(process.hrtime.bigint() - start) / 1e6;
  const name = path.basename(picture).replace(/\.[^.]*$/, "") + ".svg";
  fs.writeFileSync(path.join(outdir, name), svg);
  console.log(`${picture}\tok\t${ms.toFixed(2)}`);
}
