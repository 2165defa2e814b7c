// Times the page in headless Chromium against the native tool: every
// picture is picked in the page's file input and traced in its worker with
// every preset (--rounds times, the best kept; the first trace of all is
// also told apart: the engine has not optimised the module's code yet), and
// the tool traces it with --stats as often.
//   node frontends/web/tools/bench-browser.mjs --tools build/web/test-tools \
//        [--page build/web/page] [--om1trace build/default/bin/om1trace]
//        [--presets graphic,photo] [--rounds 2] PICTURE|FOLDER...
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readdirSync, rmSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';

import { serve } from './serve.mjs';

const a = { tools: 'build/web/test-tools', page: 'build/web/page', om1trace: 'build/default/bin/om1trace',
            presets: 'all', rounds: 2, chromium: '/usr/bin/chromium', inputs: [] };
for (let i = 2; i < process.argv.length; ++i) {
  const k = process.argv[i];
  if (k.startsWith('--')) a[k.slice(2)] = process.argv[++i];
  else a.inputs.push(k);
}
const pictures = a.inputs.flatMap((p) =>
  statSync(p).isDirectory()
    ? readdirSync(p).sort().filter((f) => /\.(png|jpe?g|bmp|gif)$/i.test(f)).map((f) => resolve(p, f))
    : [resolve(p)]);

const tmp = mkdtempSync(join(tmpdir(), 'om1-bench-'));
function native(picture, preset) {
  const r = spawnSync(a.om1trace, [picture, '--preset', preset, '-o', join(tmp, 'out.svg'), '--stats'], { encoding: 'utf8' });
  const m = /decode ([\d.]+) ms, trace ([\d.]+) ms, write ([\d.]+) ms/.exec(r.stderr);
  return r.status === 0 && m ? Number(m[1]) + Number(m[2]) + Number(m[3]) : null;
}

const puppeteer = createRequire(join(resolve(a.tools), 'package.json'))('puppeteer-core');
const server = await serve(a.page);
const browser = await puppeteer.launch({ executablePath: a.chromium, headless: true,
                                         args: ['--no-sandbox', '--disable-dev-shm-usage'] });
const page = await browser.newPage();
await page.goto(server.url);
await page.waitForFunction(() => document.body.dataset.state === 'idle', { timeout: 30000 });
const presets = a.presets === 'all' ? await page.$$eval('#preset option', (os) => os.map((o) => o.value))
                                    : a.presets.split(',');

async function traced(action) {
  await page.evaluate(() => (document.body.dataset.state = 'asked'));
  await action();
  await page.waitForFunction(() => ['done', 'error'].includes(document.body.dataset.state), { timeout: 120000 });
  return page.evaluate(() => (window.om1Page.state === 'done' ? window.om1Page.ms : null));
}

const best = new Map();
let first = null;
for (let round = 0; round < Number(a.rounds); ++round) {
  for (const picture of pictures) {
    for (const [i, preset] of presets.entries()) {
      const ms = await traced(async () => {
        await page.select('#preset', preset);
        if (i === 0) await (await page.$('#file')).uploadFile(picture);
      });
      const total = ms ? ms.decode + ms.trace + ms.write : null;
      if (first === null && total !== null) first = { picture, preset, total };
      const key = `${picture}\t${preset}`;
      const n = native(picture, preset);
      const b = best.get(key) ?? { browser: Infinity, native: Infinity, traced: total !== null };
      if (total !== null) b.browser = Math.min(b.browser, total);
      if (n !== null) b.native = Math.min(b.native, n);
      best.set(key, b);
    }
  }
}
await browser.close();
await server.close();
rmSync(tmp, { recursive: true, force: true });

let sumB = 0, sumN = 0, worst = 0;
for (const [key, b] of best) {
  if (!b.traced || !isFinite(b.native)) continue;
  sumB += b.browser;
  sumN += b.native;
  worst = Math.max(worst, b.browser / b.native);
  console.log(`${key.split('/').pop()}\t${b.native.toFixed(1)} ms\t${b.browser.toFixed(1)} ms\t${(b.browser / b.native).toFixed(2)}`);
}
if (first) {
  const n = best.get(`${first.picture}\t${first.preset}`).native;
  console.log(`first trace (${first.picture.split('/').pop()}, ${first.preset}): ${first.total.toFixed(1)} ms against native ${n.toFixed(1)} ms`);
}
console.log(`browser ${sumB.toFixed(0)} ms, native ${sumN.toFixed(0)} ms, ratio ${(sumB / sumN).toFixed(2)}, worst ${worst.toFixed(2)}`);
