'use strict';
const $ = (id) => document.getElementById(id);
const number = (n) => n.toLocaleString('en');

// ---- The decoder: a worker that may die ----

const kPatience = 60e3;      // milliseconds that a file may take
const kLargestHeap = 256e6;  // a worker that has grown beyond gives its memory back by ending
const kLargestFile = 256e6;

class Stopped extends Error {}

const decoder = {
  url: URL.createObjectURL(new Blob([$('decoder').textContent], { type: 'text/javascript' })),
  worker: null,
  file: null,     // whose bytes the worker has
  waiting: null,  // { id, resolve, reject } of the one question that is out
  questions: 0,

  end(error) {
    if (this.worker) this.worker.terminate();
    this.worker = this.file = null;
    const waiting = this.waiting;
    this.waiting = null;
    if (waiting) waiting.reject(error);
  },

  begin() {
    this.worker = new Worker(this.url);
    this.worker.onmessage = ({ data }) => {
      if (!this.waiting || data.id !== this.waiting.id) return;
      if (data.crash) return this.end(new Error(`The decoder gave up (${data.crash})`));
      this.waiting.resolve(data);
      this.waiting = null;
      if (data.heap > kLargestHeap) this.end();
    };
    this.worker.onerror = (event) => {
      event.preventDefault();
      this.end(new Error('The decoder gave up'));
    };
  },

  // What the worker answers about `file`; a question that is still out is given up.
  async ask(file, question) {
    if (this.waiting) this.end(new Stopped());
    const id = ++this.questions;
    let bytes = null;
    if (file !== this.file) {
      if (file.size > kLargestFile) throw new Error('The file is too large for this page');
      bytes = await file.arrayBuffer();
      if (id !== this.questions) throw new Stopped();
    }
    if (!this.worker) this.begin();
    this.file = file;
    let clock = 0;
    try {
      return await new Promise((resolve, reject) => {
        this.waiting = { id, resolve, reject };
        clock = setTimeout(() => this.end(new Error('It takes too long')), kPatience);
        this.worker.postMessage({ id, bytes, ...question }, bytes ? [bytes] : []);
      });
    } finally {
      clearTimeout(clock);
    }
  },
};

// ---- What is shown ----

// `found`: what is shown, null when nothing is. zoom 0: fit.
const state = { files: [], index: -1, page: 1, pages: 1, found: null, zoom: 0 };
const canvas = $('picture');   // the pixels as they are
const smaller = $('smaller');  // stands for it where it is shown smaller
const view = $('view');

function say(text, isBad = false) {
  $('status').textContent = text;
  $('status').classList.toggle('bad', isBad);
}

const plural = (n, word) => `${number(n)} ${word}${n === 1 ? '' : 's'}`;

// T_ERR_READ and T_ERR_BAD_DATA are about the data, T_OK may be, other failures are not.
function damageOf(found) {
  const isOfData = found.status === 1 ? found.rows < found.fileHeight
                                      : found.status === -7 || found.status === -9;
  if (!isOfData) return '';
  const page = found.pages > 1 ? ` of page ${found.page}` : '';
  return `damaged: ${number(found.rows)} of ${plural(found.fileHeight, 'row')}${page} whole`;
}

// Pages of faxes have dots that are higher than wide; other files' resolutions are often nonsense.
function stretchOf({ bits, dpi: [x, y], orientation }) {
  const ratio = bits === 1 && x > 0 && y > 0 ? x / y : 1;
  if (ratio < 1.2 || ratio > 2.6) return 1;
  return orientation >= 5 ? 1 / ratio : ratio;
}

function factsOf(found, file) {
  const depth = plural(found.bits, 'bit') +
    ((found.flags & 0x100) ? ', grey' : found.colors ? `, ${plural(found.colors, 'colour')}` : '');
  const extras = ['opacity', 'colour profile', 'camera data', 'description']
    .filter((_, i) => found.extras >> i & 1);
  const format = found.description.startsWith(found.format)
    ? found.description : [found.format, found.description].filter(Boolean).join(', ');
  const [x, y] = found.dpi;
  const resolution = !x || !y ? 'not stated' : x === y ? `${x} dpi` : `${x} × ${y} dpi`;
  const facts = [
    ['Format', format],
    ['Size', `${number(found.fileWidth)} × ${number(found.fileHeight)} pixels`],
    ['Depth', depth],
    ['Coding', found.compression + ((found.flags & 0x80) ? ', interlaced' : '')],
    ['Pages', number(found.pages)],
    ['Resolution', resolution + (stretchOf(found) !== 1 ? ', shown upright' : '')],
    ['File', plural(file.size, 'byte')],
  ];
  const isReduced = Math.max(found.width, found.height) < Math.max(found.fileWidth, found.fileHeight);
  if (found.width > 0 && isReduced) {
    facts.push(['Shown', `smaller, ${number(found.width)} × ${number(found.height)} pixels`]);
  }
  if (found.orientation > 1) facts.push(['Stored', 'turned or mirrored']);
  if (extras.length) facts.push(['Also has', extras.join(', ')]);
  if (damageOf(found)) facts.push(['State', damageOf(found)]);
  return facts;
}

function listFacts(facts) {
  $('facts').replaceChildren(...facts.flatMap(([term, text]) => {
    const dt = document.createElement('dt');
    const dd = document.createElement('dd');
    dt.textContent = term;
    dd.textContent = text;
    dd.classList.toggle('bad-fact', term === 'State');
    return [dt, dd];
  }));
}

function listFiles() {
  $('list').hidden = state.files.length < 2;
  $('files').replaceChildren(...state.files.map((file, i) => {
    const button = document.createElement('button');
    button.textContent = button.title = file.name;
    button.setAttribute('aria-current', String(i === state.index));
    button.onclick = () => open(i);
    const item = document.createElement('li');
    item.append(button);
    return item;
  }));
}

// All pixels count: where a browser scales what it shows, thin lines of drawings and faxes vanish.
function drawSmaller(width, height) {
  smaller.width = width;
  smaller.height = height;
  const context = smaller.getContext('2d');
  context.imageSmoothingQuality = 'high';
  context.drawImage(canvas, 0, 0, width, height);
}

function drawZoom() {
  if (!state.found) return;
  const stretch = stretchOf(state.found);
  const dots = window.devicePixelRatio || 1;
  const margin = 32;
  const fitting = Math.min(1, (view.clientWidth - margin) * dots / canvas.width,
                           (view.clientHeight - margin) * dots / (canvas.height * stretch));
  state.shownZoom = state.zoom || Math.max(fitting, 0.01);
  const width = canvas.width * state.shownZoom;
  const height = canvas.height * stretch * state.shownZoom;
  const isSmaller = state.shownZoom < 1;
  if (isSmaller) drawSmaller(Math.max(Math.round(width), 1), Math.max(Math.round(height), 1));
  canvas.hidden = isSmaller;
  smaller.hidden = !isSmaller;
  for (const { style } of [canvas, smaller]) {
    style.width = `${width / dots}px`;
    style.height = `${height / dots}px`;
  }
  canvas.classList.toggle('pixels', state.shownZoom >= 2);
  $('zoom').value = `${Math.round(state.shownZoom * 100)} %`;
  $('fit').setAttribute('aria-pressed', String(!state.zoom));
  $('actual').setAttribute('aria-pressed', String(state.zoom === 1));
}

function setZoom(zoom) {
  state.zoom = zoom && Math.min(Math.max(zoom, 0.02), 32);
  drawZoom();
}

// A page that cannot be shown leaves the way to the others.
function drawTools() {
  const { page, pages, found } = state;
  $('sizes').hidden = $('saves').hidden = !found;
  $('tools').hidden = !found && pages < 2;
  $('pages').hidden = pages < 2;
  $('page').value = page;
  $('page').max = pages;
  $('count').textContent = number(pages);
  $('previous').disabled = page <= 1;
  $('next').disabled = page >= pages;
}

function drawPage(found, file) {
  const { page, pages, width, height } = found;
  state.found = found;
  canvas.width = width;
  canvas.height = height;
  canvas.getContext('2d').putImageData(
    new ImageData(new Uint8ClampedArray(found.bytes), width, height), 0, 0);
  found.bytes = null;
  const which = pages > 1 ? `, page ${page} of ${pages}` : '';
  for (const element of [canvas, smaller]) {
    element.classList.toggle('alpha', found.hasAlpha);
    element.setAttribute('aria-label', `${file.name}${which}`);
  }
  $('empty').hidden = true;
  drawTools();
  listFacts(factsOf(found, file));
  view.scrollTo(0, 0);
  drawZoom();
  const damage = damageOf(found);
  say(`${file.name}${which}${damage ? ` is ${damage}` : ''}`, damage !== '');
}

// A file that cannot be shown leaves a message; of one that can be told what it is that is told, too.
function drawFailure(file, found, why) {
  state.found = null;
  canvas.width = canvas.height = 1;
  canvas.hidden = smaller.hidden = true;
  $('empty').hidden = false;
  drawTools();
  $('headline').textContent = `This ${state.pages > 1 ? 'page' : 'file'} cannot be shown`;
  $('reason').textContent = `${why}.`;
  listFacts(found && found.format ? factsOf(found, file) : [['File', plural(file.size, 'byte')]]);
  say(`${file.name} cannot be shown: ${why}`, true);
}

// ---- What people do ----

async function open(index, page = 1) {
  const file = state.files[index];
  if (index !== state.index) Object.assign(state, { index, pages: 1, found: null });
  state.page = page;
  $('about').hidden = false;
  listFiles();
  $('name').textContent = file.name;
  say(`Reading ${file.name}…`);
  view.setAttribute('aria-busy', 'true');
  try {
    const found = await decoder.ask(file, { kind: 'open', page });
    if (found.pages > 0) state.pages = found.pages;
    if (found.width > 0) drawPage(found, file);
    else drawFailure(file, found, found.problem);
  } catch (error) {
    if (error instanceof Stopped || state.index !== index) return;  // the next one is being read
    drawFailure(file, null, error.message);
  }
  view.setAttribute('aria-busy', 'false');
}

function add(files) {
  if (files.length === 0) return;
  const first = state.files.length;
  state.files.push(...files);
  open(first);
}

function turnTo(page) {
  if (page >= 1 && page <= state.pages && page !== state.page) open(state.index, page);
}

async function save(format, extension) {
  const file = state.files[state.index];
  const { found } = state;
  if (view.getAttribute('aria-busy') === 'true') return;
  try {
    const hasAlpha = found.hasAlpha && extension === 'png';
    const question = { kind: 'save', page: found.page, format: Number(format), hasAlpha };
    const saved = await decoder.ask(file, question);
    if (saved.problem) throw new Error(saved.problem);
    const link = document.createElement('a');
    const page = found.pages > 1 ? `-${found.page}` : '';
    link.download = `${file.name.replace(/\.[^.]*$/, '')}${page}.${extension}`;
    link.href = URL.createObjectURL(new Blob([saved.bytes]));
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60e3);
    say(`Saved ${link.download}, ${plural(saved.bytes.byteLength, 'byte')}`);
  } catch (error) {
    if (!(error instanceof Stopped)) say(`Not saved: ${error.message}`, true);
  }
}

$('choose').onchange = ({ target }) => {
  add([...target.files]);
  target.value = '';  // so that the same file can be chosen again
};
$('in').onclick = () => setZoom(state.shownZoom * 1.25);
$('out').onclick = () => setZoom(state.shownZoom / 1.25);
$('fit').onclick = () => setZoom(0);
$('actual').onclick = () => setZoom(1);
$('previous').onclick = () => turnTo(state.page - 1);
$('next').onclick = () => turnTo(state.page + 1);
$('page').onchange = ({ target }) => turnTo(Number(target.value));
for (const button of document.querySelectorAll('[data-save]')) {
  button.onclick = () => save(button.dataset.save, button.dataset.extension);
}
new ResizeObserver(drawZoom).observe(view);

const kZoomKeys = {
  '+': () => $('in').click(),
  '=': () => $('in').click(),
  '-': () => $('out').click(),
  0: () => $('fit').click(),
  1: () => $('actual').click(),
};
// Where there is one page alone these scroll it, as everywhere.
const kPageKeys = {
  PageUp: () => turnTo(state.page - 1),
  PageDown: () => turnTo(state.page + 1),
  Home: () => turnTo(1),
  End: () => turnTo(state.pages),
};
addEventListener('keydown', (event) => {
  const { key } = event;
  if (event.ctrlKey || event.altKey || event.metaKey || event.target === $('page')) return;
  if (key === 'o' || key === 'O') $('choose').click();
  else if (key === 'Escape' && decoder.waiting) decoder.end(new Error('Stopped'));
  else if (key === '[' && state.index > 0) open(state.index - 1);
  else if (key === ']' && state.index + 1 < state.files.length) open(state.index + 1);
  else if (state.found && Object.hasOwn(kZoomKeys, key)) kZoomKeys[key]();
  else if (state.pages > 1 && Object.hasOwn(kPageKeys, key)) kPageKeys[key]();
  else return;
  event.preventDefault();
});

addEventListener('dragover', (event) => {
  event.preventDefault();
  view.classList.add('over');
});
addEventListener('dragleave', () => view.classList.remove('over'));
addEventListener('drop', (event) => {
  event.preventDefault();
  view.classList.remove('over');
  add([...event.dataTransfer.files]);
});
