// Writes options.d.ts into a built package folder: the TypeScript types of
// the options, presets and formats, made from the library's own tables
// through the package itself, so the types name what the library takes.
//   node tools/make-types.mjs build/web/package
import { writeFileSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const dir = resolve(process.argv[2] ?? '.');
const om1 = await import(pathToFileURL(join(dir, 'om1.js')).href);
await om1.init();

const quote = (s) => `'${s}'`;
const comment = (lines, indent = '') =>
  `${indent}/**\n${lines.map((l) => `${indent} * ${l.replace(/\*\//g, '* /')}`).join('\n')}\n${indent} */\n`;
const camel = (name) => name.replace(/_([a-z])/g, (_, c) => c.toUpperCase());

function type(o) {
  switch (o.kind) {
    case 'flag':
    case 'switch':
      return "boolean | 'on' | 'off'";
    case 'colour':
      return 'number | string';
    case 'choice':
      return o.choices.map(quote).join(' | ');
    case 'palette':
      return 'string | Array<string | number>';
    default:
      // Whole numbers and numbers; some also take words ("auto").
      return o.takes.includes(', or ') ? 'number | string' : 'number';
  }
}

const defaults = om1.presetValues();
let out = '// Made from the library\'s option table by tools/make-types.mjs; do not edit.\n\n';
out += comment(om1.presets().map((p) => `${p.name}: ${p.help}`));
out += `export type PresetName = ${om1.presets().map((p) => quote(p.name)).join(' | ')};\n\n`;
out += `/** The output formats (om1.formats() gives their extensions). */\n`;
out += `export type FormatName = ${om1.formats().map((f) => quote(f.name)).join(' | ')};\n\n`;
out += comment(['The settings of one trace: a preset, then options by their table names',
                '(min_length) or in camel case (minLength); given options override the preset\'s.']);
out += 'export interface TraceOptions {\n';
out += comment(['How the picture is prepared (default "graphic").'], '  ');
out += '  preset?: PresetName;\n';
for (const o of om1.options()) {
  const doc = comment([`${o.help}.`, `Takes ${o.takes}; default ${defaults[o.name] || '(none)'}.`], '  ');
  out += doc + `  ${o.name}?: ${type(o)};\n`;
  if (camel(o.name) !== o.name) out += doc + `  ${camel(o.name)}?: ${type(o)};\n`;
}
out += '}\n';
writeFileSync(join(dir, 'options.d.ts'), out);
