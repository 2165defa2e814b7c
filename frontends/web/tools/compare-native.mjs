// Traces pictures with the package (WebAssembly, in Node) and with the
// native tool for every preset, checks that the outputs are the same bytes,
// and compares the times (decode + trace + write, each side's best of
// --repeat runs, the module warmed up first):
//   node frontends/web/tools/compare-native.mjs --package build/web/package \
//        --om1trace build/default/bin/om1trace [--presets graphic,photo]
//        [--formats svg,pdf] [--repeat 3] PICTURE|FOLDER...
// Exit status 1 when any output differs.
import { execFile } from 'node:child_process';
import { mkdtempSync, readdirSync, readFileSync, rmSync, statSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { promisify } from 'node:util';

const run = promisify(execFile);

function parseArgs(argv) {
  const a = { package: 'build/web/package', om1trace: 'build/default/bin/om1trace', presets: 'all',
              formats: 'svg', repeat: 3, inputs: [] };
  for (let i = 0; i < argv.length; ++i) {
    const k = argv[i];
    if (k.startsWith('--')) a[k.slice(2)] = argv[++i];
    else a.inputs.push(k);
  }
  a.repeat = Number(a.repeat);
  return a;
}

function pictures(inputs) {
  const out = [];
  for (const p of inputs) {
    if (statSync(p).isDirectory()) {
      for (const f of readdirSync(p).sort())
        if (/\.(png|jpe?g|bmp|gif)$/i.test(f)) out.push(join(p, f));
    } else out.push(p);
  }
  return out;
}

// The tool's output and its own times (--stats: "decode A ms, trace B ms, write C ms").
async function native(tool, picture, preset, format, out) {
  try {
    const { stderr } = await run(tool, [picture, '--preset', preset, '--format', format, '-o', out, '--stats']);
    const m = /decode ([\d.]+) ms, trace ([\d.]+) ms, write ([\d.]+) ms/.exec(stderr);
    return { code: 0, bytes: readFileSync(out), ms: m ? Number(m[1]) + Number(m[2]) + Number(m[3]) : NaN };
  } catch (e) {
    return { code: e.code, message: String(e.stderr).trim() };
  }
}

async function wasm(om1, bytes, preset, format) {
  const t0 = performance.now();
  try {
    const t = await om1.traceFile(bytes, { preset });
    const out = t.export(format);
    const ms = performance.now() - t0;
    t.free();
    return { code: 0, bytes: out, ms };
  } catch (e) {
    return { code: e.code, message: e.message };
  }
}

export async function compare(args, log = console.log) {
  const om1 = await import(pathToFileURL(resolve(args.package, 'om1.js')).href);
  await om1.init();
  const presets = args.presets === 'all' ? om1.presets().map((p) => p.name) : args.presets.split(',');
  const formats = args.formats.split(',');
  const tmp = mkdtempSync(join(tmpdir(), 'om1-compare-'));
  const rows = [];
  try {
    for (const picture of pictures(args.inputs)) {
      const bytes = readFileSync(picture);
      // Warm-up: the engine compiles the module's hot code fully on later calls.
      await wasm(om1, bytes, presets[0], formats[0]);
      for (const preset of presets) {
        for (const format of formats) {
          const out = join(tmp, 'out.' + format);
          let n = null;
          let w = null;
          for (let r = 0; r < args.repeat; ++r) {
            const a = await native(args.om1trace, picture, preset, format, out);
            const b = await wasm(om1, bytes, preset, format);
            if (!n || (a.code === 0 && a.ms < n.ms)) n = a;
            if (!w || (b.code === 0 && b.ms < w.ms)) w = b;
          }
          const same = n.code === 0 && w.code === 0 ? Buffer.compare(Buffer.from(w.bytes), n.bytes) === 0
                                                    : n.code !== 0 && w.code !== 0;
          const row = { picture: picture.split('/').pop(), preset, format, same, traced: n.code === 0,
                        native: n.ms, wasm: w.ms, note: n.code ? `both refuse (${n.code})` : '' };
          if (!same) row.note = `native ${n.code ? n.message : n.bytes.length + ' bytes'}, wasm ${w.code ? w.message : w.bytes.length + ' bytes'}`;
          rows.push(row);
          log([row.picture, preset, format, same ? 'same' : 'DIFFERENT',
               row.traced ? `${n.ms.toFixed(1)} ms` : '-', row.traced ? `${w.ms.toFixed(1)} ms` : '-',
               row.traced ? (w.ms / n.ms).toFixed(2) : '-', row.note].join('\t'));
        }
      }
    }
  } finally {
    rmSync(tmp, { recursive: true, force: true });
  }
  const traced = rows.filter((r) => r.traced && r.same);
  const sum = (k) => traced.reduce((s, r) => s + r[k], 0);
  const summary = { outputs: rows.length, same: rows.filter((r) => r.same).length,
                    nativeMs: sum('native'), wasmMs: sum('wasm') };
  summary.ratio = summary.wasmMs / summary.nativeMs;
  log(`${summary.same} of ${summary.outputs} outputs the same bytes; time over ${traced.length} traced: ` +
      `native ${summary.nativeMs.toFixed(0)} ms, WebAssembly ${summary.wasmMs.toFixed(0)} ms, ratio ${summary.ratio.toFixed(2)}`);
  return summary;
}

if (import.meta.url === pathToFileURL(process.argv[1] ?? '').href) {
  const s = await compare(parseArgs(process.argv.slice(2)));
  process.exitCode = s.same === s.outputs ? 0 : 1;
}
