// What the page knows of the camera: filled by the server's events, read by everybody who draws.

// The order of a sample's fields.
export const T = 0, ZOOM = 1, FOCUS = 2, ZOOM_COUNTED = 3, FOCUS_COUNTED = 4, BEST = 5, VALUE = 6,
  ERROR = 7, ACTIVITY = 8, RUNS = 9, HALF = 10, DIOPTRES = 11, COMMAND = 12;

export const ACTIVITIES = ['stopped', 'finding home', 'watches', 'zooms', 'focuses by hand', 'autofocus',
  'goes to a position', 'finding home', 'calibrates', 'single steps'];
export const OUTCOMES = ['', 'done', 'focused', 'unsure', 'no peak: flat', 'no peak: edge',
  'no peak: no statistics', 'replaced', 'cancelled', 'fault', 'forgotten'];
export const FAULTS = [[1, 'driver bus'], [2, 'GPIO'], [4, 'ISP'], [8, 'home not found'],
  [16, 'position doubtful']];

const AUTOFOCUS = 5;
const KEPT_MS = 62000;
const LINES = 200;
const KEPT_HILL = 600;

export const model = fresh();

function fresh() {
  return { lens: null, lines: null, state: null, samples: [], serial: [], messages: [], hill: [],
    stretch: 0, search: null, marks: [], picture: 0, pictures: [], terminal: '', gone: false, version: 0 };
}

export function last() { return model.samples[model.samples.length - 1]; }

export function take(message) {
  const handlers = { reset, lens, lines, state, picture, pictures, terminal, gone };
  if (handlers[message.k])
    handlers[message.k](message);
  model.version++;
}

function reset(message) {
  const { picture, pictures } = model;
  Object.assign(model, fresh(), { picture, pictures });
  message.told.forEach(take);
}
function lens(message) { model.lens = message; }
function lines(message) { model.lines = message; }
function picture(message) { model.picture = message.n; }
function pictures(message) { model.pictures = message.files; }
function terminal(message) { model.terminal = message.name; }
function gone(message) { model.gone = message.gone; }

function state(message) {
  model.state = message;
  message.samples.forEach(addSample);
  message.told.forEach(addTold);
  while (model.samples.length && model.samples[0][T] < message.t - KEPT_MS)
    model.samples.shift();
  while (model.marks.length && model.marks[0].t < message.t - KEPT_MS)
    model.marks.shift();
}

// A hill belongs to one zoom position and one best focus; a stretch of it to one direction.
function addSample(sample) {
  const before = last();
  if (before && sample[T] <= before[T])
    return;
  model.samples.push(sample);
  const top = model.hill[0];
  if (top && (Math.abs(top.zoom - sample[ZOOM]) > 6 ||
    Math.abs(top.best - sample[BEST]) > Math.max(2, sample[HALF])))
    model.hill = [];
  if (!before || sample[ACTIVITY] !== before[ACTIVITY]) {
    model.stretch++;
    if (sample[ACTIVITY] === AUTOFOCUS)
      model.search = null;
  }
  const moved = before ? Math.sign(sample[FOCUS] - before[FOCUS]) : 0;
  if (moved !== 0 && sample[ZOOM] === before[ZOOM] && sample[VALUE] > 0)
    model.hill.push({ focus: sample[FOCUS], value: sample[VALUE], way: moved, stretch: model.stretch,
      zoom: sample[ZOOM], best: sample[BEST] });
  if (model.hill.length > KEPT_HILL)
    model.hill.shift();
}

function keep(list, item) {
  list.push(item);
  if (list.length > LINES)
    list.shift();
}

// The robust search tells its steps on the console: where the peak is bracketed, and each fine pass's
// parabola, whose curvature is the thousandths of its top by which it falls a half depth away.
function noteSearch(text) {
  const [, estimate, width] = /Bracket: (\d+) width: (\d+)/.exec(text) ?? [];
  const [, vertex, top, curvature] = /Pass: (\d+) top: (\d+) curvature: (-?\d+)/.exec(text) ?? [];
  if (estimate)
    model.search = { estimate: +estimate, width: +width, passes: [] };
  else if (vertex && model.search)
    model.search.passes.push({ vertex: +vertex, top: +top, curvature: curvature / 1000 });
}

// In words, a step a line.
export function describeSearch() {
  const { search, state } = model;
  if (!search)
    return [];
  const isOver = state.activity !== AUTOFOCUS;
  const end = isOver ? (state.verdict === 2 ? 'confirmed' : OUTCOMES[state.verdict]) : 'is looked at again';
  return [`bracket ${search.estimate} ± ${Math.round(search.width / 2)}`,
    ...search.passes.map(({ vertex }, i, all) => `pass ${i + 1}: ${vertex}, ` + (i + 1 < all.length ? 'not confirmed' : end))];
}

function addTold(item) {
  if (item.k === 'console')
    noteSearch(item.text);
  if (item.k === 'serial') {
    keep(model.serial, item);
    if (item.from === 'controller')
      model.marks.push({ t: item.t, text: item.text.replace(/^[^:]*: /, '') });
  } else if (item.k !== 'event') {
    keep(model.messages, item);
  } else if (item.outcome) {
    keep(model.messages, { ...item, text: `${item.activity === 2 ? 'order' : ACTIVITIES[item.activity]}: ${OUTCOMES[item.outcome]}` });
  }
}

// Best focus over zoom for an object at so many dioptres.
export function objectLine(dioptres) {
  const { infinity, near } = model.lens;
  return infinity.map((far, i) => far + (model.state?.drift ?? 0) - (far - near[i]) * dioptres / 0.5);
}
