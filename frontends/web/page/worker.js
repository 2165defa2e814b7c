// The page's tracer: runs the om1 package off the main thread. Messages in:
// { type: 'trace', id, bytes, options } and { type: 'export', id, format };
// out: 'ready' (the tables), 'progress', 'done' (the SVG and counts), 'file',
// 'error'. The last trace is kept for its downloads.
import * as om1 from './om1/om1.js';

let last = null; // { id, trace }

const ready = om1.init().then(
  () => {
    const presets = om1.presets();
    postMessage({
      type: 'ready',
      version: om1.version(),
      options: om1.options(),
      presets,
      formats: om1.formats(),
      values: Object.fromEntries(presets.map((p) => [p.name, om1.presetValues(p.name)])),
    });
  },
  (e) => postMessage({ type: 'error', message: 'om1 did not load: ' + (e && e.message ? e.message : e) }),
);

// A small picture traced once after loading: the engine compiles the
// module's code fully only once it has run, so the first trace a user asks
// for would otherwise take several times as long as later ones.
async function warmUp() {
  const w = 96, h = 96;
  const px = new Uint8ClampedArray(w * h * 4);
  const disks = [[30, 30, 18, [200, 40, 40]], [66, 40, 20, [40, 90, 200]], [48, 72, 16, [240, 200, 40]]];
  for (let y = 0; y < h; ++y) {
    for (let x = 0; x < w; ++x) {
      let c = [240 - x, 230 - y, 200];
      for (const [cx, cy, r, colour] of disks) {
        const d = Math.hypot(x + 0.5 - cx, y + 0.5 - cy) - r; // anti-aliased edge
        const k = Math.min(1, Math.max(0, 0.5 - d));
        c = c.map((v, i) => v * (1 - k) + colour[i] * k);
      }
      px.set([...c, 255], 4 * (y * w + x));
    }
  }
  for (const preset of ['graphic', 'photo', 'plain']) {
    const t = await om1.trace(px, w, h, { preset });
    t.export('svg');
    t.free();
  }
}

async function traceBytes({ id, bytes, options }) {
  const progress = (stage, value) => postMessage({ type: 'progress', id, stage, value });
  if (last) {
    last.trace.free();
    last = null;
  }
  const t0 = performance.now();
  progress('decoding', 0.05);
  const maxPixels = Number(options.max_pixels ?? 100000000);
  const picture = await om1.decode(bytes, { maxPixels });
  const t1 = performance.now();
  progress('tracing', 0.2);
  const trace = await om1.trace(picture.pixels, picture.width, picture.height, options);
  const t2 = performance.now();
  progress('writing SVG', 0.9);
  const svg = trace.export('svg');
  const t3 = performance.now();
  last = { id, trace };
  postMessage(
    { type: 'done', id, svg, stats: trace.stats, ms: { decode: t1 - t0, trace: t2 - t1, write: t3 - t2 } },
    [svg.buffer],
  );
}

async function handle(data) {
  await ready;
  try {
    if (data.type === 'trace') {
      if (data.id === latest) await traceBytes(data); // else a newer one waits
    } else if (data.type === 'export') {
      if (!last || last.id !== data.id) throw new Error('that trace is gone; trace again');
      const bytes = last.trace.export(data.format);
      postMessage({ type: 'file', id: data.id, format: data.format, bytes }, [bytes.buffer]);
    }
  } catch (e) {
    postMessage({ type: 'error', id: data.id, message: e && e.message ? e.message : String(e) });
  }
}

// One message at a time, and of several traces asked for meanwhile only the last.
let queue = ready.then(warmUp).catch(() => {});
let latest = 0;
onmessage = ({ data }) => {
  if (data.type === 'trace') latest = data.id;
  queue = queue.then(() => handle(data));
};
