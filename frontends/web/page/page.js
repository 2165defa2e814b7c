// The om1 page: a picture in, its trace beside it. The controls are made
// from the library's option table (sent by the worker); tracing happens in
// worker.js. window.om1Page lets a test read what the page shows.

// Shown first; every other option of the table is under "All options".
const MAIN = ['polygon', 'cutout', 'colors', 'speckle', 'tolerance', 'min_length', 'threshold'];
const DOWNLOADS = ['svg', 'pdf', 'dxf'];

const $ = (id) => document.getElementById(id);
const worker = new Worker(new URL('./worker.js', import.meta.url), { type: 'module' });

const page = {
  tables: null, // options, presets, formats, values (per preset)
  file: null, // { name, bytes }
  id: 0, // the trace asked for last
  svg: '', // its SVG text
  stats: null,
  ms: null,
  pictureUrl: null,
  traceUrl: null,
  zoom: 'fit',
};

function setState(state) {
  document.body.dataset.state = state;
}

function showError(message) {
  $('error').textContent = message;
  $('error').hidden = !message;
}

// --- the controls -----------------------------------------------------------

function optionControl(o) {
  const label = document.createElement('label');
  label.className = 'option';
  label.title = `${o.help} (${o.takes})`;
  const name = document.createElement('span');
  name.textContent = o.name.replace(/_/g, ' ');
  let input;
  if (o.kind === 'flag' || o.kind === 'switch') {
    input = document.createElement('input');
    input.type = 'checkbox';
  } else if (o.kind === 'choice') {
    input = document.createElement('select');
    for (const c of o.choices) input.add(new Option(c, c));
  } else if (o.kind === 'colour') {
    // RRGGBB, or a word ("none") where the option takes one.
    input = document.createElement('input');
    input.type = 'text';
  } else {
    input = document.createElement('input');
    // Numbers that also take words ("auto") are typed as text.
    const words = o.takes.includes(', or ');
    input.type = words || o.kind === 'palette' ? 'text' : 'number';
    if (input.type === 'number') {
      input.min = o.min;
      input.max = o.max;
      input.step = o.kind === 'int' ? 1 : 'any';
    }
  }
  input.dataset.option = o.name;
  input.addEventListener('change', () => {
    markGiven();
    if (page.file) scheduleTrace();
  });
  label.append(name, input);
  return label;
}

function controls() {
  return [...document.querySelectorAll('[data-option]')];
}

function controlValue(input) {
  if (input.type === 'checkbox') return input.checked ? 'on' : 'off';
  return input.value.trim();
}

function setControl(input, text) {
  if (input.type === 'checkbox') input.checked = text === 'on';
  else input.value = text;
}

function presetValues() {
  return page.tables.values[$('preset').value];
}

// Options whose control differs from the preset's value.
function givenOptions() {
  const values = presetValues();
  const given = {};
  for (const input of controls()) {
    const v = controlValue(input);
    if (v !== values[input.dataset.option]) given[input.dataset.option] = v;
  }
  return given;
}

function markGiven() {
  const given = givenOptions();
  for (const input of controls()) input.parentElement.classList.toggle('given', input.dataset.option in given);
}

function showPreset() {
  const values = presetValues();
  for (const input of controls()) setControl(input, values[input.dataset.option]);
  const p = page.tables.presets.find((x) => x.name === $('preset').value);
  $('preset-help').textContent = p ? p.help : '';
  markGiven();
}

function buildControls(tables) {
  page.tables = tables;
  $('version').textContent = tables.version;
  for (const p of tables.presets) $('preset').add(new Option(p.name, p.name));
  for (const o of tables.options)
    (MAIN.includes(o.name) ? $('main-options') : $('more-options')).append(optionControl(o));
  const downloads = $('downloads');
  for (const f of tables.formats.filter((x) => DOWNLOADS.includes(x.name))) {
    const b = document.createElement('button');
    b.type = 'button';
    b.textContent = 'Download ' + f.name.toUpperCase();
    b.dataset.format = f.name;
    b.dataset.extension = f.extension;
    b.addEventListener('click', () => worker.postMessage({ type: 'export', id: page.id, format: f.name }));
    downloads.append(b);
  }
  showPreset();
}

// --- tracing ----------------------------------------------------------------

let timer = 0;
function scheduleTrace() {
  clearTimeout(timer);
  timer = setTimeout(startTrace, 250);
}

function startTrace() {
  if (!page.file || !page.tables) return;
  page.id += 1;
  showError('');
  setState('busy');
  $('trace').disabled = true;
  $('progress-box').hidden = false;
  $('progress').removeAttribute('value');
  $('stage').textContent = 'starting';
  const options = { preset: $('preset').value, ...givenOptions() };
  // A copy: the file's bytes stay here for the next trace.
  worker.postMessage({ type: 'trace', id: page.id, bytes: page.file.bytes.slice(0), options });
}

function setPicture(name, bytes) {
  page.file = { name, bytes };
  if (page.pictureUrl) URL.revokeObjectURL(page.pictureUrl);
  page.pictureUrl = URL.createObjectURL(new Blob([bytes]));
  $('picture').src = page.pictureUrl;
  $('under').src = page.pictureUrl;
  $('trace').disabled = false;
  startTrace();
}

function showTrace(msg) {
  page.svg = new TextDecoder().decode(msg.svg);
  page.stats = msg.stats;
  page.ms = msg.ms;
  if (page.traceUrl) URL.revokeObjectURL(page.traceUrl);
  page.traceUrl = URL.createObjectURL(new Blob([msg.svg], { type: 'image/svg+xml' }));
  $('traced').src = page.traceUrl;
  const s = msg.stats;
  const total = msg.ms.decode + msg.ms.trace + msg.ms.write;
  $('s-size').textContent = `${s.width} × ${s.height}`;
  $('s-paths').textContent = s.paths.toLocaleString('en');
  $('s-segments').textContent = s.segments.toLocaleString('en');
  $('s-bytes').textContent = msg.svg.byteLength.toLocaleString('en');
  $('s-time').textContent = `${total.toFixed(0)} ms`;
  $('s-time').title = `decode ${msg.ms.decode.toFixed(1)} ms, trace ${msg.ms.trace.toFixed(1)} ms, write ${msg.ms.write.toFixed(1)} ms`;
  $('s-curved').textContent = `${s.curvedLoops} of ${s.loops}`;
  $('stats').hidden = false;
  $('downloads').hidden = false;
  layout();
}

function download(format, bytes) {
  const button = document.querySelector(`[data-format="${format}"]`);
  const base = (page.file ? page.file.name : 'trace').replace(/\.[^.]*$/, '');
  const a = document.createElement('a');
  a.href = URL.createObjectURL(new Blob([bytes]));
  a.download = `${base}.${button ? button.dataset.extension : format}`;
  document.body.append(a);
  a.click();
  a.remove();
  setTimeout(() => URL.revokeObjectURL(a.href), 1000);
}

worker.onmessage = ({ data: msg }) => {
  if (msg.type === 'ready') {
    buildControls(msg);
    setState('idle');
    return;
  }
  if (msg.id !== undefined && msg.id !== page.id) return; // an older trace
  if (msg.type === 'progress') {
    $('progress').value = msg.value;
    $('stage').textContent = msg.stage;
  } else if (msg.type === 'done') {
    $('progress-box').hidden = true;
    $('trace').disabled = false;
    showTrace(msg);
    setState('done');
  } else if (msg.type === 'file') {
    download(msg.format, msg.bytes);
  } else if (msg.type === 'error') {
    $('progress-box').hidden = true;
    $('trace').disabled = !page.file;
    showError(msg.message);
    setState('error');
  }
};
worker.onerror = (e) => {
  showError('the tracer stopped: ' + (e.message || 'unknown error'));
  setState('error');
};

// --- the view: side by side or split, zoom ---------------------------------

function scale() {
  const s = page.stats;
  if (!s) return 1;
  if (page.zoom !== 'fit') return Number(page.zoom);
  const box = document.querySelector('#pane-trace .scroll');
  return Math.min((box.clientWidth - 2) / s.width, (box.clientHeight - 2) / s.height);
}

function layout() {
  const split = document.querySelector('input[name=view]:checked').value === 'split';
  $('views').className = split ? 'split' : 'side';
  $('under').hidden = !split;
  $('split-label').hidden = !split;
  $('traced').style.clipPath = split ? `inset(0 0 0 ${$('split').value}%)` : '';
  const s = page.stats;
  if (!s) return;
  const k = scale(); // of the panes as they are now laid out
  for (const c of document.querySelectorAll('.canvas')) {
    c.style.width = `${s.width * k}px`;
    c.style.height = `${s.height * k}px`;
  }
}

function zoomStep(direction) {
  const steps = [...$('zoom').options].map((o) => o.value).filter((v) => v !== 'fit').map(Number);
  const now = scale();
  const next = direction > 0 ? steps.find((z) => z > now + 1e-9) : [...steps].reverse().find((z) => z < now - 1e-9);
  if (next !== undefined) {
    $('zoom').value = String(next);
    page.zoom = String(next);
    layout();
  }
}

// Both panes scroll together.
const scrollers = [...document.querySelectorAll('.scroll')];
let syncing = false;
for (const s of scrollers) {
  s.addEventListener('scroll', () => {
    if (syncing) return;
    syncing = true;
    for (const t of scrollers) if (t !== s) t.scrollTo(s.scrollLeft, s.scrollTop);
    requestAnimationFrame(() => (syncing = false));
  });
}

// --- wiring -----------------------------------------------------------------

$('preset').addEventListener('change', () => {
  showPreset();
  if (page.file) startTrace();
});
$('reset').addEventListener('click', () => {
  showPreset();
  if (page.file) startTrace();
});
$('trace').addEventListener('click', startTrace);
$('file').addEventListener('change', async (e) => {
  const f = e.target.files[0];
  if (f) setPicture(f.name, new Uint8Array(await f.arrayBuffer()));
});
$('example').addEventListener('click', async () => {
  const r = await fetch('example.png');
  setPicture('example.png', new Uint8Array(await r.arrayBuffer()));
});
for (const r of document.querySelectorAll('input[name=view]')) r.addEventListener('change', layout);
$('split').addEventListener('input', layout);
$('zoom').addEventListener('change', () => {
  page.zoom = $('zoom').value;
  layout();
});
$('zoom-in').addEventListener('click', () => zoomStep(1));
$('zoom-out').addEventListener('click', () => zoomStep(-1));
window.addEventListener('resize', layout);

// Dropping anywhere on the page.
for (const type of ['dragenter', 'dragover']) {
  document.addEventListener(type, (e) => {
    e.preventDefault();
    $('drop').classList.add('over');
  });
}
document.addEventListener('dragleave', (e) => {
  if (!e.relatedTarget) $('drop').classList.remove('over');
});
document.addEventListener('drop', async (e) => {
  e.preventDefault();
  $('drop').classList.remove('over');
  const f = e.dataTransfer.files[0];
  if (f) setPicture(f.name, new Uint8Array(await f.arrayBuffer()));
});

window.om1Page = {
  get state() {
    return document.body.dataset.state;
  },
  get svg() {
    return page.svg;
  },
  get stats() {
    return page.stats;
  },
  get ms() {
    return page.ms;
  },
};
