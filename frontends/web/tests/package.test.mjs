// The npm package in Node: its outputs against the native tool's, byte for
// byte, its regions on a worked example, and its errors.
//   OM1_WEB_PACKAGE=build/web/package OM1TRACE=build/default/bin/om1trace \
//   node --test frontends/web/tests/
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { deflateSync } from 'node:zlib';

const root = resolve(dirname(fileURLToPath(import.meta.url)), '../../..');
const packageDir = resolve(process.env.OM1_WEB_PACKAGE ?? join(root, 'build/web/package'));
const om1trace = resolve(process.env.OM1TRACE ?? join(root, 'build/default/bin/om1trace'));
const om1 = await import(pathToFileURL(join(packageDir, 'om1.js')).href);
const examples = ['shapes.png', 'shapes.bmp'].map((f) => join(root, 'examples', f));

let tmp;
before(() => {
  tmp = mkdtempSync(join(tmpdir(), 'om1-web-'));
});
after(() => rmSync(tmp, { recursive: true, force: true }));

// The tool's output for the same picture and flags, or its exit code.
function native(picture, format, flags) {
  const out = join(tmp, 'out.' + format);
  try {
    execFileSync(om1trace, [picture, '--format', format, '-o', out, '--quiet', ...flags], { stdio: 'pipe' });
  } catch (e) {
    return { code: e.status };
  }
  return { bytes: readFileSync(out) };
}

async function assertSame(picture, options, flags, format = 'svg') {
  const n = native(picture, format, flags);
  let t;
  try {
    t = await om1.traceFile(readFileSync(picture), options);
  } catch (e) {
    assert.ok(n.code, `the tool traced ${picture} ${flags.join(' ')} where the package refused: ${e.message}`);
    return;
  }
  assert.ok(n.bytes, `the package traced ${picture} ${flags.join(' ')} where the tool exited ${n.code}`);
  const w = t.export(format);
  t.free();
  assert.ok(Buffer.from(w).equals(n.bytes), `${picture} ${flags.join(' ')} ${format}: ${w.length} bytes against the tool's ${n.bytes.length}`);
}

// A PNG file of RGBA pixels (8 bits, no filter), for pictures made here.
function png(width, height, rgba) {
  const crcTable = Array.from({ length: 256 }, (_, n) => {
    let c = n;
    for (let k = 0; k < 8; ++k) c = c & 1 ? 0xedb88320 ^ (c >>> 1) : c >>> 1;
    return c >>> 0;
  });
  const chunk = (type, data) => {
    const body = Buffer.concat([Buffer.from(type, 'ascii'), data]);
    let c = 0xffffffff;
    for (const b of body) c = crcTable[(c ^ b) & 0xff] ^ (c >>> 8);
    const out = Buffer.alloc(body.length + 8);
    out.writeUInt32BE(data.length, 0);
    body.copy(out, 4);
    out.writeUInt32BE((c ^ 0xffffffff) >>> 0, body.length + 4);
    return out;
  };
  const head = Buffer.alloc(13);
  head.writeUInt32BE(width, 0);
  head.writeUInt32BE(height, 4);
  head.set([8, 6, 0, 0, 0], 8);
  const rows = Buffer.alloc((4 * width + 1) * height);
  for (let y = 0; y < height; ++y) Buffer.from(rgba.buffer, rgba.byteOffset + 4 * width * y, 4 * width).copy(rows, y * (4 * width + 1) + 1);
  return Buffer.concat([Buffer.from([137, 80, 78, 71, 13, 10, 26, 10]), chunk('IHDR', head),
                        chunk('IDAT', deflateSync(rows)), chunk('IEND', Buffer.alloc(0))]);
}

// 120 x 90: empty around an opaque square, a half-transparent disk with a
// soft edge across it, and a gradient strip.
function transparentPicture() {
  const w = 120, h = 90, px = new Uint8Array(w * h * 4);
  for (let y = 0; y < h; ++y) {
    for (let x = 0; x < w; ++x) {
      const p = 4 * (y * w + x);
      if (x >= 10 && x < 50 && y >= 10 && y < 50) px.set([30, 90, 200, 255], p);
      const d = Math.hypot(x + 0.5 - 60, y + 0.5 - 45) - 25;
      const k = Math.min(1, Math.max(0, 0.5 - d / 2));
      if (k > 0) px.set([220, 60, 40, Math.round(128 * k + px[p + 3] * (1 - k))], p);
      if (y >= 75) px.set([2 * x, 100, 255 - 2 * x, 255], p);
    }
  }
  return png(w, h, px);
}

describe('outputs are the native tool\'s, byte for byte', () => {
  before(() => om1.init());

  test('every preset on the bundled examples', async () => {
    for (const picture of examples)
      for (const { name } of om1.presets()) await assertSame(picture, { preset: name }, ['--preset', name]);
  });

  test('every format', async () => {
    for (const { name } of om1.formats()) await assertSame(examples[0], { preset: 'photo' }, ['--preset', 'photo'], name);
  });

  test('options by name and in camel case, in the table\'s order whatever the order given', async () => {
    const cases = [
      [{ preset: 'pixel', max_colors: 0 }, ['--preset', 'pixel', '--max-colors', '0']],
      [{ tolerance: 5, polygon: true, cutout: 'on' }, ['--polygon', '--cutout', '--tolerance', '5']],
      [{ minLength: 40, curveTolerance: 3, background: 0x102030 }, ['--min-length', '40', '--curve-tolerance', '3', '--background', '102030']],
      [{ colors: 4, speckle: 30, preset: 'photo' }, ['--preset', 'photo', '--colors', '4', '--speckle', '30']],
      [{ preset: 'bw', threshold: 'auto', palette: ['#000000', 0xffffff] }, ['--preset', 'bw', '--threshold', 'auto', '--palette', '#000000,#ffffff']],
    ];
    for (const [options, flags] of cases) await assertSame(examples[0], options, flags);
  });

  test('a picture with transparency, traced with it and over a background', async () => {
    const picture = join(tmp, 'transparent.png');
    writeFileSync(picture, transparentPicture());
    for (const preset of ['graphic', 'photo', 'pixel'])
      for (const format of ['svg', 'json', 'eps'])
        await assertSame(picture, { preset }, ['--preset', preset], format);
    await assertSame(picture, { background: 'ffffff' }, ['--background', 'ffffff']);
    await assertSame(picture, { background: 0, transparent: true, alphaLevels: 2 }, ['--background', '000000', '--transparent', '--alpha-levels', '2']);
    const t = await om1.traceFile(readFileSync(picture));
    assert.ok(t.regions.some((r) => r.hidden && r.alpha === 0), 'the empty region');
    assert.ok(t.regions.some((r) => r.alpha > 0 && r.alpha < 255), 'a half-transparent region');
    t.free();
  });

  test('decode then trace is traceFile', async () => {
    const bytes = readFileSync(examples[0]);
    const picture = await om1.decode(bytes);
    assert.deepEqual([picture.width, picture.height, picture.pixels.length], [400, 300, 400 * 300 * 4]);
    const a = await om1.trace(picture.pixels, picture.width, picture.height, { preset: 'bw' });
    const b = await om1.traceFile(bytes, { preset: 'bw' });
    assert.equal(a.svg(), b.svg());
  });
});

// 16 x 12 white with a red 10 x 7 block at (2, 3).
function block() {
  const w = 16, h = 12;
  const px = new Uint8ClampedArray(w * h * 4).fill(255);
  for (let y = 3; y < 10; ++y)
    for (let x = 2; x < 12; ++x) px.set([255, 0, 0, 255], 4 * (y * w + x));
  return { data: px, width: w, height: h };
}

describe('a traced block', () => {
  test('covers exactly its pixels, as an ImageData or as bytes', async () => {
    const image = block();
    const t = await om1.trace(image, { polygon: true });
    const red = t.regions.filter((r) => r.color === '#ff0000');
    assert.equal(red.length, 1);
    const r = red[0];
    // Inside the white region: one of its holes.
    assert.deepEqual([r.role, r.pixels, r.loops, r.rgb], ['hole', 70, 1, 0xff0000]);
    assert.ok(t.regions[r.parent].holes.includes(r.index));
    const corners = Array.from(r.boundary(0));
    const xs = corners.filter((_, i) => i % 2 === 0), ys = corners.filter((_, i) => i % 2 === 1);
    assert.deepEqual([corners.length, Math.min(...xs), Math.max(...xs), Math.min(...ys), Math.max(...ys)], [8, 2, 12, 3, 10]);
    assert.equal(r.curve(0), null, 'polygon mode fits no curve');
    assert.throws(() => r.boundary(1), RangeError);
    // Every region's holes name it as their parent.
    for (const g of t.regions) for (const h of g.holes) assert.equal(t.regions[h].parent, g.index);
    assert.deepEqual([t.width, t.height, t.paths], [16, 12, t.stats.paths]);
    const u = await om1.trace(new Uint8Array(image.data.buffer), 16, 12, { polygon: true });
    assert.equal(u.svg(), t.svg());
    assert.ok(JSON.parse(t.json()));
    t.free();
    t.free();
    assert.throws(() => t.svg(), /freed/);
  });

  test('curves come as 3n + 1 points', async () => {
    const t = await om1.traceFile(readFileSync(examples[0]));
    const curved = t.regions.filter((r) => r.role !== 'frame' && r.curve(0));
    assert.ok(curved.length > 0);
    for (const r of curved) assert.equal((r.curve(0).length / 2) % 3, 1);
  });
});

describe('failures are exceptions with the library\'s messages', () => {
  const cases = [
    ['an unknown option', () => om1.trace(block(), { colours: 4 }), 8, /unknown option 'colours'; did you mean 'colors'\?/],
    ['a value out of range', () => om1.trace(block(), { tolerance: 101 }), 7, /tolerance: 101 is not a whole number from 0 to 100/],
    ['a value of another kind', () => om1.trace(block(), { polygon: {} }), 7, /polygon/],
    ['an unknown preset', () => om1.trace(block(), { preset: 'sketch' }), 8, /unknown preset 'sketch' \(presets: graphic/],
    ['a picture of 2 x 2', () => om1.trace(new Uint8Array(16), 2, 2), 5, /2 x 2 picture/],
    ['too few bytes', () => om1.trace(new Uint8Array(10), 3, 3), 4, /fewer than 3 x 3/],
    ['no picture file', () => om1.traceFile(new TextEncoder().encode('hello, world')), 9, /unsupported format/],
    ['an empty file', () => om1.traceFile(new Uint8Array(0)), 9, /the file is empty/],
    ['a PNG cut short', () => om1.traceFile(readFileSync(examples[0]).subarray(0, 900)), 9, /not a readable PNG file/],
    ['more pixels than max_pixels', () => om1.traceFile(readFileSync(examples[0]), { maxPixels: 1000 }), 9, /more than the limit of 1000/],
    ['more colours than max_colors', () => om1.traceFile(readFileSync(examples[0]), { preset: 'pixel', max_colors: 128 }), 13, /more colours than max_colors/],
  ];
  for (const [what, call, code, message] of cases) {
    test(what, async () => {
      await assert.rejects(call, (e) => e instanceof om1.Om1Error && e.code === code && message.test(e.message));
    });
  }

  test('an unknown format, and the module goes on after every failure', async () => {
    const t = await om1.trace(block());
    assert.throws(() => t.export('png'), (e) => e.code === 9 && /formats: svg, json/.test(e.message));
    assert.ok(t.svg().startsWith('<?xml'));
  });
});

describe('the tables come from the library', () => {
  test('options, presets, formats and preset values', async () => {
    await om1.init();
    const names = om1.options().map((o) => o.name);
    assert.deepEqual(names.slice(0, 3), ['polygon', 'cutout', 'tolerance']);
    assert.equal(new Set(names).size, names.length);
    const tolerance = om1.options().find((o) => o.name === 'tolerance');
    assert.deepEqual([tolerance.kind, tolerance.min, tolerance.max], ['int', 0, 100]);
    assert.deepEqual(om1.options().find((o) => o.name === 'filter').choices, ['none', 'quadrant', 'adaptive']);
    assert.equal(om1.presets()[0].name, 'graphic');
    assert.deepEqual(om1.formats().slice(0, 3).map((f) => f.extension), ['svg', 'json', 'pdf']);
    assert.equal(om1.presetValues('pixel').polygon, 'on');
    assert.equal(om1.presetValues('plain').tolerance, '10');
    assert.equal(om1.presetValues().background, 'none');
    assert.match(om1.version(), /^\d+\.\d+\.\d+$/);
    const pkg = JSON.parse(readFileSync(join(packageDir, 'package.json'), 'utf8'));
    assert.equal(pkg.version, om1.version());
  });
});
