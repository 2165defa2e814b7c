// Types of the om1 package (om1.js). The options' names and values are in
// options.d.ts, made from the library's option table.
import type { FormatName, PresetName, TraceOptions } from './options.js';

export type { FormatName, PresetName, TraceOptions };

/** An error of the library; `code` is its status code (om1types.h: 4 bad size, 7 bad option, ...). */
export class Om1Error extends Error {
  readonly code: number;
}

/** Where the module's .wasm file is, or its bytes, or the compiled module; by default beside om1.js. */
export interface InitOptions {
  wasm?: string | URL | ArrayBuffer | ArrayBufferView | WebAssembly.Module;
}

/** Loads the WebAssembly module once; trace() and traceFile() call it themselves. */
export function init(options?: InitOptions): Promise<void>;

export interface OptionInfo {
  readonly name: string;
  readonly kind: 'int' | 'number' | 'flag' | 'switch' | 'colour' | 'choice' | 'palette';
  readonly min: number;
  readonly max: number;
  readonly choices: readonly string[] | null;
  /** What the command line calls the value ("STEPS"); null for flags. */
  readonly valueName: string | null;
  readonly help: string;
  /** The values it takes, in words. */
  readonly takes: string;
}

/** The options in the order they are applied (after init()). */
export function options(): readonly OptionInfo[];
/** The presets, the default first (after init()). */
export function presets(): readonly { readonly name: PresetName; readonly help: string }[];
/** The output formats (after init()). */
export function formats(): readonly { readonly name: FormatName; readonly extension: string }[];
/** The values a preset sets, option by option, as text (after init()). */
export function presetValues(preset?: PresetName): Record<string, string>;
/** The library's version (after init()). */
export function version(): string;

export interface Stats {
  readonly width: number;
  readonly height: number;
  /** Regions with a colour (outlines and holes). */
  readonly regions: number;
  readonly holes: number;
  /** Containers without colour. */
  readonly frames: number;
  /** Paths the drawing formats write. */
  readonly paths: number;
  /** Curve segments and polygon edges drawn. */
  readonly segments: number;
  readonly loops: number;
  /** Loops kept as fitted curves. */
  readonly curvedLoops: number;
  /** Pixels moved to match the picture. */
  readonly correctedPixels: number;
}

/** One region; regions are in drawing order (a region, then its holes, depth first; 0 is the root). */
export interface Region {
  readonly index: number;
  readonly role: 'outline' | 'hole' | 'frame';
  /** The enclosing region, -1 for the root. */
  readonly parent: number;
  readonly depth: number;
  /** "#rrggbb"; null for frames. */
  readonly color: string | null;
  /** 0xRRGGBB. */
  readonly rgb: number;
  readonly pixels: number;
  /** Boundary loops: outer loops clockwise, hole loops the other way. */
  readonly loops: number;
  readonly holeCount: number;
  /** Left out by the writers: the empty region of a picture traced with transparency. */
  readonly hidden: boolean;
  /** Opacity 0..255: 255 opaque, 0 the empty region. */
  readonly alpha: number;
  /** The indices of the regions whose parent this is. */
  readonly holes: number[];
  /** The exact corner polygon of a loop: x, y pairs (pixel (x, y) covers [x, x+1] x [y, y+1]), not closed. */
  boundary(loop?: number): Int32Array;
  /** The fitted curve of a loop: 3n + 1 points as x, y pairs; null where the exact polygon stands in. */
  curve(loop?: number): Float64Array | null;
}

export class Trace {
  readonly stats: Stats;
  readonly width: number;
  readonly height: number;
  readonly paths: number;
  readonly segments: number;
  /** Every region in drawing order, read on first use. */
  readonly regions: readonly Region[];
  /** The SVG text, byte for byte what om1trace writes for the same picture and options. */
  svg(): string;
  /** The JSON text (one node per traced outline). */
  json(): string;
  /** A text format as a string. */
  text(format: FormatName): string;
  /** The file's bytes in a format. */
  export(format?: FormatName): Uint8Array;
  /** Releases the result now (otherwise the garbage collector does). */
  free(): void;
}

/** RGBA pixels: 4 bytes a pixel, row 0 at the top. */
export type Pixels = Uint8Array | Uint8ClampedArray | ArrayBuffer;

/** Traces width x height RGBA pixels (an ImageData's data, or a Uint8Array). */
export function trace(pixels: Pixels, width: number, height: number, options?: TraceOptions): Promise<Trace>;
/** Traces an ImageData (or anything with data, width and height). */
export function trace(
  image: { data: Pixels; width: number; height: number },
  options?: TraceOptions,
): Promise<Trace>;
/** Traces a PNG, JPEG, BMP or GIF file's bytes, decoded as om1trace decodes them. */
export function traceFile(bytes: ArrayBuffer | ArrayBufferView, options?: TraceOptions): Promise<Trace>;
/** Decodes a PNG, JPEG, BMP or GIF file's bytes into RGBA pixels. */
export function decode(
  bytes: ArrayBuffer | ArrayBufferView,
  options?: { maxPixels?: number },
): Promise<{ width: number; height: number; pixels: Uint8Array }>;
