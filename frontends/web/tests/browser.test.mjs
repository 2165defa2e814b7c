// The page in headless Chromium, served from 127.0.0.1 with every other host
// unreachable: it traces the bundled example in its worker for every preset
// and through its controls, and its SVG and downloads are the native tool's
// bytes. Takes the README's screenshot.
//   OM1_WEB_TOOLS=build/web/test-tools (puppeteer-core in node_modules)
//   OM1_WEB_PAGE=build/web/page OM1TRACE=build/default/bin/om1trace
//   CHROMIUM=/usr/bin/chromium OM1_WEB_SCREENSHOT=build/web/page.png
//   node --test frontends/web/tests/browser.test.mjs
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { serve } from '../tools/serve.mjs';

const root = resolve(dirname(fileURLToPath(import.meta.url)), '../../..');
const tools = resolve(process.env.OM1_WEB_TOOLS ?? join(root, 'build/web/test-tools'));
const pageDir = resolve(process.env.OM1_WEB_PAGE ?? join(root, 'build/web/page'));
const om1trace = resolve(process.env.OM1TRACE ?? join(root, 'build/default/bin/om1trace'));
const chromium = process.env.CHROMIUM ?? '/usr/bin/chromium';
const screenshot = resolve(process.env.OM1_WEB_SCREENSHOT ?? join(root, 'build/web/page.png'));
const example = join(pageDir, 'example.png');
const puppeteer = createRequire(join(tools, 'package.json'))('puppeteer-core');

let server, browser, page, tmp;

before(async () => {
  tmp = mkdtempSync(join(tmpdir(), 'om1-browser-'));
  server = await serve(pageDir);
  browser = await puppeteer.launch({
    executablePath: chromium,
    headless: true,
    // Root in a container has no sandbox; no host but 127.0.0.1 resolves,
    // so the page works offline or not at all.
    args: ['--no-sandbox', '--disable-dev-shm-usage', '--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1'],
  });
  page = await browser.newPage();
  await page.setViewport({ width: 1280, height: 720 });
  const cdp = await page.createCDPSession();
  await cdp.send('Browser.setDownloadBehavior', { behavior: 'allow', downloadPath: tmp });
  const problems = [];
  page.on('pageerror', (e) => problems.push(e.message));
  page.on('requestfailed', (r) => problems.push('request failed: ' + r.url()));
  page.problems = problems;
  await page.goto(server.url);
  await page.waitForFunction(() => document.body.dataset.state === 'idle', { timeout: 30000 });
});

after(async () => {
  await browser?.close();
  await server?.close();
  rmSync(tmp, { recursive: true, force: true });
});

function native(format, flags) {
  const out = join(tmp, 'native.' + format);
  const run = spawnSync(om1trace, [example, '--format', format, '-o', out, '--stats', ...flags], { encoding: 'utf8' });
  assert.equal(run.status, 0, run.stderr);
  const m = /decode ([\d.]+) ms, trace ([\d.]+) ms, write ([\d.]+) ms/.exec(run.stderr);
  return { bytes: readFileSync(out), ms: m ? Number(m[1]) + Number(m[2]) + Number(m[3]) : NaN };
}

// Waits for the trace the last action started to finish (or fail).
async function traced(action) {
  await page.evaluate(() => (document.body.dataset.state = 'asked'));
  await action();
  await page.waitForFunction(() => ['done', 'error'].includes(document.body.dataset.state), { timeout: 60000 });
  return page.evaluate(() => ({ state: window.om1Page.state, svg: window.om1Page.svg, ms: window.om1Page.ms,
                                error: document.getElementById('error').textContent }));
}

test('every preset traces the example as the native tool does', async () => {
  const presets = await page.$$eval('#preset option', (os) => os.map((o) => o.value));
  assert.equal(presets[0], 'graphic');
  let first = true;
  for (const preset of presets) {
    const r = await traced(async () => {
      await page.select('#preset', preset);
      if (first) await page.click('#example');
    });
    first = false;
    assert.equal(r.state, 'done', r.error);
    const n = native('svg', ['--preset', preset]);
    assert.ok(Buffer.from(r.svg).equals(n.bytes), `${preset}: the page's SVG is not the tool's`);
    const ms = r.ms.decode + r.ms.trace + r.ms.write;
    console.log(`# ${preset}: browser ${ms.toFixed(1)} ms, native ${n.ms.toFixed(1)} ms`);
  }
});

test('options set in the page, and the downloads', async () => {
  await page.select('#preset', 'graphic');
  let r = await traced(() => page.click('#reset'));
  // Polygon on, then the colours the preset keeps set to 6.
  r = await traced(() => page.click('[data-option=polygon]'));
  r = await traced(async () => {
    await page.$eval('[data-option=colors]', (e) => {
      e.value = '6';
      e.dispatchEvent(new Event('change'));
    });
  });
  assert.equal(r.state, 'done', r.error);
  assert.ok(Buffer.from(r.svg).equals(native('svg', ['--polygon', '--colors', '6']).bytes));
  for (const format of ['pdf', 'dxf']) {
    await page.click(`[data-format=${format}]`);
    const file = join(tmp, `example.${format}`);
    for (let i = 0; i < 100 && !existsSync(file); ++i) await new Promise((done) => setTimeout(done, 50));
    assert.ok(existsSync(file), `no ${format} downloaded (${readdirSync(tmp)})`);
    await new Promise((done) => setTimeout(done, 100));
    assert.ok(readFileSync(file).equals(native(format, ['--polygon', '--colors', '6']).bytes), `${format} differs`);
  }
});

test('split view, zoom, and the screenshot', async () => {
  await page.select('#preset', 'graphic');
  await traced(() => page.click('#reset'));
  const width = () => page.$eval('#pane-trace .canvas', (c) => c.getBoundingClientRect().width);
  await page.select('#zoom', '1');
  await page.$eval('#zoom', (e) => e.dispatchEvent(new Event('change')));
  assert.equal(await width(), 400);
  await page.click('#zoom-in');
  assert.equal(await width(), 800);
  await page.select('#zoom', 'fit');
  await page.$eval('#zoom', (e) => e.dispatchEvent(new Event('change')));
  await page.click('input[name=view][value=split]');
  assert.equal(await page.$eval('#pane-picture', (e) => getComputedStyle(e).display), 'none');
  assert.match(await page.$eval('#traced', (e) => e.style.clipPath), /inset\(0(px)? 0(px)? 0(px)? 50%\)/);
  await page.click('input[name=view][value=side]');
  assert.ok(Math.abs((await width()) - 488) < 2, 'fit: two panes of 490 pixels side by side');
  await page.$eval('#side', (e) => (e.scrollTop = 0));
  await page.screenshot({ path: screenshot });
  assert.deepEqual(page.problems, []);
});
