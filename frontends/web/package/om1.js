// om1: colour raster pictures into exact vector outlines, in WebAssembly.
//
//     import { trace, traceFile } from 'om1';
//     const t = await traceFile(pngBytes, { preset: 'photo' });
//     t.svg();            // the SVG text, as the om1trace tool writes it
//     t.export('pdf');    // the file's bytes in any format
//     t.free();           // or leave it to the garbage collector
//
// The module calls the library's C interface (om1c.h) compiled to
// WebAssembly; the options, presets and formats are read from it at run time,
// so this file names none of them.

import createOm1Module from './om1-wasm.js';

// The C interface's codes (om1types.h) this file tells apart.
const OK = 0;
const BAD_SIZE = 4;
const BAD_OPTION = 7;
const UNKNOWN_OPTION = 8;
const UNKNOWN_FORMAT = 9;
const BAD_INDEX = 10;

const ROLES = ['outline', 'hole', 'frame'];

let loading = null; // the promise of the module
let M = null; // the module, once loaded
let scratch = 0; // 64 bytes of module memory for out parameters
let tables = null; // options, presets, formats, read once

/** An error of the library: `code` is its status code (om1types.h), `message` its sentence. */
export class Om1Error extends Error {
  constructor(code, message) {
    super(message);
    this.name = 'Om1Error';
    this.code = code;
  }
}

const isNode =
  typeof process === 'object' && process !== null && typeof process.versions === 'object' &&
  typeof process.versions.node === 'string' && typeof window === 'undefined' &&
  typeof importScripts !== 'function';

async function instantiate(wasm) {
  const settings = { print: () => {}, printErr: (text) => console.warn('om1: ' + text) };
  if (typeof WebAssembly.Module === 'function' && wasm instanceof WebAssembly.Module) {
    settings.instantiateWasm = (imports, done) => {
      WebAssembly.instantiate(wasm, imports).then((instance) => done(instance, wasm));
      return {};
    };
  } else if (wasm instanceof ArrayBuffer || ArrayBuffer.isView(wasm)) {
    settings.wasmBinary = wasm;
  } else if (typeof wasm === 'string' || (typeof URL === 'function' && wasm instanceof URL)) {
    const where = String(wasm);
    settings.locateFile = () => where;
  } else if (isNode) {
    // Node has no fetch of file: URLs; the bytes are read beside this file.
    const fsName = 'node:fs/promises';
    const { readFile } = await import(fsName);
    settings.wasmBinary = await readFile(new URL('./om1-wasm.wasm', import.meta.url));
  }
  return createOm1Module(settings);
}

/**
 * Loads the WebAssembly module (once; later calls return the same promise).
 * `wasm` may name where om1-wasm.wasm lies (a URL), or give its bytes or a
 * compiled WebAssembly.Module; by default it is found beside this file.
 */
export function init({ wasm } = {}) {
  if (!loading) {
    loading = instantiate(wasm).then((module) => {
      M = module;
      scratch = M._malloc(64);
      if (!scratch) throw new Om1Error(11, 'om1: out of memory');
      tables = readTables();
      return undefined;
    });
    loading.catch(() => {
      loading = null;
    });
  }
  return loading;
}

function loaded() {
  if (!M) throw new Error('om1: the module is not loaded yet (await init() first)');
  return M;
}

function text(ptr) {
  return ptr ? M.UTF8ToString(ptr) : null;
}

// A C string in module memory, released by the caller with M._free.
function cString(s) {
  const n = M.lengthBytesUTF8(s) + 1;
  const p = M._malloc(n);
  if (!p) throw new Om1Error(11, 'om1: out of memory');
  M.stringToUTF8(s, p, n);
  return p;
}

function u32(ptr) {
  return M.HEAPU32[ptr >>> 2];
}

function f64s(ptr, n) {
  return Array.from(new Float64Array(M.HEAPU8.buffer, ptr, n));
}

function fail(code, context) {
  return new Om1Error(code, 'om1: ' + (context ? context + ': ' : '') + text(M._om1_error_message(code)));
}

function readTables() {
  const options = [];
  for (let i = 0; M._om1web_option(i, scratch, scratch + 32) === OK; ++i) {
    const t = [0, 1, 2, 3, 4, 5].map((k) => text(u32(scratch + 4 * k)));
    const [min, max] = f64s(scratch + 32, 2);
    options.push(Object.freeze({
      name: t[0], kind: t[1], min, max, choices: t[2] ? Object.freeze(t[2].split('|')) : null,
      valueName: t[3], help: t[4], takes: t[5],
    }));
  }
  const presets = [];
  for (let i = 0; M._om1_preset_name(i); ++i)
    presets.push(Object.freeze({ name: text(M._om1_preset_name(i)), help: text(M._om1_preset_help(i)) }));
  const formats = [];
  for (let i = 0; M._om1_format_name(i); ++i)
    formats.push(Object.freeze({ name: text(M._om1_format_name(i)), extension: text(M._om1_format_extension(i)) }));
  const index = new Map(options.map((o, i) => [o.name, i]));
  return { options: Object.freeze(options), presets: Object.freeze(presets), formats: Object.freeze(formats), index };
}

/** The options in the order they are applied, as the library's option table describes them. */
export function options() {
  loaded();
  return tables.options;
}

/** The presets, the default ("graphic") first, with a line on what each is for. */
export function presets() {
  loaded();
  return tables.presets;
}

/** The output formats and their usual file extensions. */
export function formats() {
  loaded();
  return tables.formats;
}

/** The library's version, "MAJOR.MINOR.PATCH". */
export function version() {
  return text(loaded()._om1_version());
}

// "minLength" and "min_length" name the same option.
function optionName(key) {
  return key.replace(/[A-Z]/g, (c) => '_' + c.toLowerCase());
}

function distance(a, b) {
  const d = Array.from({ length: b.length + 1 }, (_, j) => j);
  for (let i = 1; i <= a.length; ++i) {
    let prev = d[0];
    d[0] = i;
    for (let j = 1; j <= b.length; ++j) {
      const keep = d[j];
      d[j] = Math.min(d[j] + 1, d[j - 1] + 1, prev + (a[i - 1] === b[j - 1] ? 0 : 1));
      prev = keep;
    }
  }
  return d[b.length];
}

function hex(n) {
  return '#' + (n >>> 0).toString(16).padStart(6, '0');
}

// An option's value as the text the option table reads.
function valueText(option, value) {
  if (typeof value === 'boolean') return value ? 'on' : 'off';
  if (typeof value === 'number') {
    if (option.kind === 'colour' && Number.isInteger(value) && value >= 0 && value <= 0xffffff)
      return hex(value).slice(1);
    return String(value);
  }
  if (typeof value === 'string') return value;
  if (option.kind === 'palette' && Array.isArray(value))
    return value.map((c) => (typeof c === 'number' ? hex(c) : String(c))).join(',');
  return null;
}

// A new options record (released by the caller with M._free) from
// { preset, ...options }.
function record(given = {}) {
  if (given === null || typeof given !== 'object')
    throw new TypeError('om1: options must be an object');
  const p = M._malloc(M._om1_options_size());
  if (!p) throw new Om1Error(11, 'om1: out of memory');
  try {
    M._om1_options_init(p);
    const settings = [];
    for (const [key, value] of Object.entries(given)) {
      if (value === undefined) continue;
      if (key === 'preset') {
        const s = cString(String(value));
        const code = M._om1_options_preset(p, s);
        M._free(s);
        if (code !== OK) {
          const names = tables.presets.map((x) => x.name).join(', ');
          throw new Om1Error(UNKNOWN_OPTION, `om1: unknown preset '${value}' (presets: ${names})`);
        }
        continue;
      }
      const name = optionName(key);
      const i = tables.index.get(name);
      if (i === undefined) {
        let best = null;
        for (const o of tables.options) {
          const d = distance(name, o.name);
          if (d <= Math.max(2, name.length / 3) && (!best || d < best.d)) best = { d, name: o.name };
        }
        throw new Om1Error(UNKNOWN_OPTION, `om1: unknown option '${key}'` + (best ? `; did you mean '${best.name}'?` : ''));
      }
      settings.push([i, key, value]);
    }
    // In the table's order: an option that implies others comes first, so
    // that an explicit value of the implied option wins.
    settings.sort((a, b) => a[0] - b[0]);
    for (const [i, key, value] of settings) {
      const option = tables.options[i];
      const t = valueText(option, value);
      let code = BAD_OPTION;
      if (t !== null) {
        const n = cString(option.name);
        const v = cString(t);
        code = M._om1_options_set(p, n, v);
        M._free(n);
        M._free(v);
      }
      if (code !== OK)
        throw new Om1Error(code, `om1: option ${key}: ${JSON.stringify(value)} is not ${option.takes}`);
    }
    return p;
  } catch (e) {
    M._free(p);
    throw e;
  }
}

/**
 * The values a preset sets, option by option, as text ("4", "on", "ffffff").
 * Without a name, the defaults (the "graphic" preset).
 */
export function presetValues(preset) {
  loaded();
  const p = record(preset === undefined ? {} : { preset });
  try {
    const values = {};
    tables.options.forEach((o, i) => {
      const code = M._om1web_option_value(p, i, scratch);
      if (code !== OK) throw fail(code);
      values[o.name] = text(u32(scratch));
      M._om1_buffer_free(u32(scratch));
    });
    return values;
  } finally {
    M._free(p);
  }
}

const registry =
  typeof FinalizationRegistry === 'function' ? new FinalizationRegistry((ptr) => M._om1_result_free(ptr)) : null;

/** One traced region (see om1c.h's om1_region). */
class Region {
  constructor(trace, index, v) {
    this.trace = trace;
    this.index = index;
    this.role = ROLES[v[0]];
    this.parent = v[1];
    this.depth = v[2];
    this.rgb = v[3];
    this.color = v[0] === 2 ? null : hex(v[3]);
    this.pixels = v[4];
    this.loops = v[5];
    this.holeCount = v[6];
    this.hidden = v[7] !== 0;
    this.alpha = v[8];
  }

  /** The indices of the regions whose parent this is. */
  get holes() {
    const out = [];
    for (let k = 0; k < this.holeCount; ++k) {
      const code = M._om1_result_hole(this.trace.handle(), this.index, k, scratch);
      if (code !== OK) throw fail(code);
      out.push(M.HEAP32[scratch >>> 2]);
    }
    return out;
  }

  /** The exact corner polygon of one loop: x, y pairs, not closed. */
  boundary(loop = 0) {
    return points(this.trace, '_om1_result_boundary', this.index, loop, Int32Array);
  }

  /** The fitted curve of one loop (3n + 1 points as x, y pairs), or null where the polygon stands in. */
  curve(loop = 0) {
    const c = points(this.trace, '_om1_result_curve', this.index, loop, Float64Array);
    return c.length ? c : null;
  }
}

function points(trace, fn, index, loop, Type) {
  const r = trace.handle();
  let code = M[fn](r, index, loop, 0, 0, scratch);
  if (code === BAD_INDEX) throw new RangeError(`om1: region ${index} has no loop ${loop}`);
  if (code !== OK) throw fail(code);
  const count = u32(scratch);
  if (count === 0) return new Type(0);
  const bytes = 2 * count * Type.BYTES_PER_ELEMENT;
  const p = M._malloc(bytes);
  if (!p) throw new Om1Error(11, 'om1: out of memory');
  try {
    code = M[fn](r, index, loop, p, count, scratch);
    if (code !== OK) throw fail(code);
    return new Type(M.HEAPU8.buffer.slice(p, p + bytes));
  } finally {
    M._free(p);
  }
}

/** A traced picture: its counts, its regions, and its outputs in every format. */
export class Trace {
  constructor(ptr) {
    this.ptr = ptr;
    this.regionList = null;
    if (registry) registry.register(this, ptr, this);
    if (M._om1web_stats(ptr, scratch) !== OK) throw new Om1Error(12, 'om1: no counts');
    const v = f64s(scratch, 10);
    /** width, height, regions, holes, frames, paths, segments, loops, curvedLoops, correctedPixels */
    this.stats = Object.freeze({
      width: v[0], height: v[1], regions: v[2], holes: v[3], frames: v[4], paths: v[5],
      segments: v[6], loops: v[7], curvedLoops: v[8], correctedPixels: v[9],
    });
  }

  get width() { return this.stats.width; }
  get height() { return this.stats.height; }
  /** Paths the drawing formats write (regions of one colour that touch share one). */
  get paths() { return this.stats.paths; }
  /** Curve segments and polygon edges drawn. */
  get segments() { return this.stats.segments; }

  handle() {
    if (!this.ptr) throw new Error('om1: the trace was freed');
    return this.ptr;
  }

  /** Every region in drawing order (region 0 is the root), read on first use. */
  get regions() {
    if (!this.regionList) {
      const r = this.handle();
      const code = M._om1_result_region_count(r, scratch);
      if (code !== OK) throw fail(code);
      const n = M.HEAP32[scratch >>> 2];
      const list = [];
      for (let i = 0; i < n; ++i) {
        const c = M._om1web_region(r, i, scratch);
        if (c !== OK) throw fail(c);
        list.push(new Region(this, i, f64s(scratch, 9)));
      }
      this.regionList = Object.freeze(list);
    }
    return this.regionList;
  }

  /** The file's bytes in a format ("svg", "pdf", "dxf", ...; see formats()). */
  export(format = 'svg') {
    const r = this.handle();
    const f = cString(String(format));
    const code = M._om1_result_write(r, f, scratch, scratch + 4);
    M._free(f);
    if (code === UNKNOWN_FORMAT) {
      const names = tables.formats.map((x) => x.name).join(', ');
      throw new Om1Error(code, `om1: unknown format '${format}' (formats: ${names})`);
    }
    if (code !== OK) throw fail(code);
    const data = u32(scratch);
    const size = u32(scratch + 4);
    const bytes = M.HEAPU8.slice(data, data + size);
    M._om1_buffer_free(data);
    return bytes;
  }

  /** A text format as a string. */
  text(format) {
    return new TextDecoder().decode(this.export(format));
  }

  svg() { return this.text('svg'); }
  json() { return this.text('json'); }

  /** Releases the result's memory now; the trace can no longer be read. */
  free() {
    if (this.ptr) {
      if (registry) registry.unregister(this);
      M._om1_result_free(this.ptr);
      this.ptr = 0;
    }
  }
}

function bytesOf(data, what) {
  if (data instanceof Uint8Array || data instanceof Uint8ClampedArray) return data;
  if (data instanceof ArrayBuffer) return new Uint8Array(data);
  if (ArrayBuffer.isView(data)) return new Uint8Array(data.buffer, data.byteOffset, data.byteLength);
  throw new TypeError(`om1: ${what} must be a Uint8Array, Uint8ClampedArray or ArrayBuffer`);
}

// Copies bytes into module memory; the caller releases the pointer.
function copyIn(bytes) {
  const p = M._malloc(Math.max(1, bytes.length));
  if (!p) throw new Om1Error(11, `om1: out of memory for ${bytes.length} bytes`);
  M.HEAPU8.set(bytes, p);
  return p;
}

function traceRgba(pixels, width, height, given) {
  if (!Number.isInteger(width) || !Number.isInteger(height) || width < 1 || height < 1)
    throw new Om1Error(BAD_SIZE, `om1: ${width} x ${height} is no picture size`);
  if (pixels.length < width * height * 4)
    throw new Om1Error(BAD_SIZE, `om1: ${pixels.length} bytes are fewer than ${width} x ${height} pixels of 4 bytes`);
  const opts = record(given);
  let px = 0;
  try {
    px = copyIn(pixels.subarray(0, width * height * 4));
    const code = M._om1_trace_rgba(px, width, height, 4 * width, opts, scratch);
    if (code !== OK) throw fail(code, `${width} x ${height} picture`);
    return new Trace(u32(scratch));
  } finally {
    if (px) M._free(px);
    M._free(opts);
  }
}

/**
 * Traces width x height RGBA pixels (4 bytes a pixel, row 0 at the top: an
 * ImageData's data, or a Uint8Array). `trace(imageData, options)` takes the
 * size from the ImageData. Options: { preset, ...option: value } by the
 * option table's names (min_length or minLength).
 */
export async function trace(pixels, width, height, opts) {
  await init();
  if (pixels && typeof pixels === 'object' && 'data' in pixels && 'width' in pixels &&
      typeof width !== 'number') {
    return traceRgba(bytesOf(pixels.data, 'the pixels'), pixels.width, pixels.height, width);
  }
  return traceRgba(bytesOf(pixels, 'the pixels'), width, height, opts);
}

/** Decodes a PNG, JPEG, BMP or GIF file's bytes into { width, height, pixels } (RGBA). */
export async function decode(bytes, { maxPixels = 100000000 } = {}) {
  await init();
  return decodeNow(bytesOf(bytes, 'the file'), maxPixels);
}

function decodeNow(bytes, maxPixels) {
  const src = copyIn(bytes);
  try {
    const code = M._om1web_decode(src, bytes.length, maxPixels, scratch, scratch + 4, scratch + 8, scratch + 12);
    if (code !== OK) {
      const why = u32(scratch + 12);
      const message = why ? text(why) : text(M._om1_error_message(code));
      if (why) M._om1_buffer_free(why);
      throw new Om1Error(code, 'om1: ' + message);
    }
    const data = u32(scratch);
    const width = M.HEAP32[(scratch + 4) >>> 2];
    const height = M.HEAP32[(scratch + 8) >>> 2];
    const pixels = M.HEAPU8.slice(data, data + width * height * 4);
    M._om1_buffer_free(data);
    return { width, height, pixels };
  } finally {
    M._free(src);
  }
}

/**
 * Traces a PNG, JPEG, BMP or GIF file's bytes, decoded as the om1trace tool
 * decodes them, so the outputs are the tool's byte for byte.
 */
export async function traceFile(bytes, opts = {}) {
  await init();
  const maxPixels = opts && typeof opts === 'object' ? opts.max_pixels ?? opts.maxPixels : undefined;
  const { width, height, pixels } = decodeNow(bytesOf(bytes, 'the file'), maxPixels ?? 100000000);
  return traceRgba(pixels, width, height, opts);
}
