// Puts it together: the stream of events, the picture, texts and controls.
import { model, take, last, describeSearch, ACTIVITY, ERROR, DIOPTRES, ACTIVITIES, OUTCOMES, FAULTS } from './model.js';
import { drawPlane, drawHill, drawTime, pointAt, timeAt } from './draw.js';
import { order, send, input, frame, presetFrame, directFrame } from './orders.js';
import { toggleStory, endStory } from './story.js';

const $ = id => document.getElementById(id);
window.view = model; // for whoever looks with the browser's tools

// ---- Events; a page that nobody sees gives its connection back

let stream = null;
function listen() {
  if (stream || document.hidden)
    return;
  stream = new EventSource('events');
  stream.onmessage = event => take(JSON.parse(event.data));
}
document.addEventListener('visibilitychange', () => {
  if (document.hidden && stream) {
    stream.close();
    stream = null;
  }
  listen();
});
listen();

// ---- The picture: one on its way at a time

let shown = 0;
let isLoading = false;
async function loadPicture() {
  if (isLoading || shown === model.picture || document.hidden)
    return;
  isLoading = true;
  const wanted = model.picture;
  try {
    const answer = await fetch('picture?n=' + wanted);
    if (answer.ok)
      paint(await createImageBitmap(await answer.blob()));
    shown = wanted;
  } catch { /* the server has ended */ }
  isLoading = false;
}

function paint(image) {
  const canvas = $('picture'), ratio = window.devicePixelRatio || 1;
  const { width, height } = canvas.getBoundingClientRect();
  canvas.width = Math.round(width * ratio);
  canvas.height = Math.round(height * ratio);
  const pen = canvas.getContext('2d');
  pen.imageSmoothingQuality = 'high';
  pen.drawImage(image, 0, 0, canvas.width, canvas.height);
  image.close();
  $('wait').hidden = true;
}

// ---- Texts

function set(element, text, kind) {
  if (element.textContent !== text)
    element.textContent = text;
  if (kind !== undefined)
    element.className = 'chip ' + kind;
}

const spellMetres = dioptres => dioptres < 0.004 ? 'far' : (1 / dioptres).toFixed(dioptres > 0.1 ? 1 : 0) + ' m';

function showChips() {
  const { state } = model, now = last();
  const error = now[ERROR], off = Math.abs(error);
  const activity = state.activity;
  set($('doing'), model.gone ? 'the camera has stopped' : state.ended ? 'the kept session ends' : state.paused ? 'paused' : activity === 2 && !state.armed ? 'rests' : ACTIVITIES[activity],
    model.gone ? 'bad' : activity === 2 || state.paused ? '' : 'busy');
  set($('truth'), off <= 1 ? 'sharp' : `${off.toFixed(off < 10 ? 1 : 0)} half depths too ${error > 0 ? 'far' : 'near'}`,
    off <= 1 ? 'good' : off <= 2 ? 'warn' : 'bad');
  set($('verdict'), state.runs ? `the library: ${OUTCOMES[state.verdict] || '…'}, ${state.frames} frames` : '');
  const faults = FAULTS.filter(([bit]) => state.faults & bit).map(([, name]) => name).join(', ');
  $('fault').hidden = !faults;
  set($('fault'), faults ? '⚠ ' + faults : '');
  set($('clock'), (state.t / 1000).toFixed(1) + ' s');
  set($('factor'), `${state.osd || '–'}   ${state.zoomFactor.toFixed(1)} ×`);
  set($('place'), `object ${spellMetres(now[DIOPTRES])} · ${state.night ? 'night' : 'day'}${state.again ? ' · again' : ''}`);
  set($('terminal'), model.terminal ? 'also on ' + model.terminal : '');
}

function spellBytes(text) { return text.replace(/(..)(?=.)/g, '$1 '); }

function row(item, kind, text, code) {
  const li = document.createElement('li'), time = document.createElement('time'), b = document.createElement('b');
  li.className = kind;
  time.textContent = (item.t / 1000).toFixed(2);
  b.textContent = text;
  li.append(time, b);
  if (code) {
    const bytes = document.createElement('code');
    bytes.textContent = code;
    li.append(bytes);
  }
  return li;
}

const lists = new Map();
function showList(section, items, make) {
  const key = items.length ? items.length + ':' + items[items.length - 1].t + ':' + items[0].t : '';
  if (lists.get(section) === key)
    return;
  lists.set(section, key);
  const list = document.querySelector(`#${section} ol`);
  const isAtEnd = list.scrollHeight - list.scrollTop - list.clientHeight < 30;
  list.replaceChildren(...items.map(make));
  if (isAtEnd)
    list.scrollTop = list.scrollHeight;
}

const makeSerial = item => row(item, item.from === 'camera' ? 'out' : 'in',
  (item.from === 'camera' ? '← ' : '→ ') + item.text, spellBytes(item.hex));

function makeMessage(item) {
  if (item.k === 'console') {
    const [, by, text] = /^_Fun:(\S+) Line:\d+ (.*)/.exec(item.text) ?? [null, '', item.text];
    const li = row(item, 'console', text.replace(/_{2,}/g, ' ').trim() || text, by);
    li.title = item.text;
    return li;
  }
  return row(item, item.outcome <= 2 ? 'good' : item.outcome >= 9 ? 'bad' : '', `ticket ${item.ticket}, ${item.text}`);
}

// ---- Controls that show what is

const isBusy = element => document.activeElement === element;
const press = (element, isOn) => element.setAttribute('aria-pressed', String(Boolean(isOn)));

const HILL = 'Focus value over focus position';
function showHill() {
  drawHill();
  const words = [HILL, ...describeSearch()].join('; '), canvas = document.querySelector('#hill canvas');
  if (canvas.getAttribute('aria-label') !== words)
    canvas.setAttribute('aria-label', words);
}

function showControls() {
  const { state, lens } = model, now = last(), world = state.world ?? {};
  if (!isBusy($('distance')))
    $('distance').value = now[DIOPTRES];
  set($('metres'), spellMetres(now[DIOPTRES]));
  for (const [id, position] of [['zoomTo', state.zoomPosition], ['focusTo', state.focusPosition]])
    if (!isBusy($(id)))
      $(id).value = position;
  press($('night'), state.night);
  set($('pause'), state.paused ? '▶' : '❚❚');
  $('pause').setAttribute('aria-label', state.paused ? 'Go on' : 'Pause');
  if (!isBusy($('speed')))
    $('speed').value = String(state.pace);
  document.querySelectorAll('[data-fault]').forEach(b => press(b, world['fault ' + b.dataset.fault] === 'on'));
  document.querySelectorAll('[data-preset]').forEach(b => b.classList.toggle('stored', b.dataset.preset in state.presets));
  document.querySelectorAll('[data-setting]').forEach(box => {
    const value = state.settings[box.dataset.setting];
    if (box.type === 'checkbox')
      box.checked = value > 0;
    else if (!isBusy(box))
      box.value = value;
  });
  if (lens && !isBusy($('replies')))
    $('replies').value = lens.replies;
  showFlaw();
}

function show() {
  if (model.state && model.samples.length && model.lens) {
    showChips();
    showControls();
    drawPlane();
    showHill();
    drawTime();
    showList('serial', model.serial, makeSerial);
    showList('messages', model.messages, makeMessage);
  }
  loadPicture();
}

let drawn = -1;
function loop() {
  if (drawn !== model.version) {
    drawn = model.version;
    show();
  } else {
    loadPicture();
  }
  requestAnimationFrame(loop);
}
addEventListener('resize', () => { drawn = -1; });

// ---- Legends

function legend(id, items) {
  $(id).append(...items.map(([kind, ink, text]) => {
    const span = document.createElement('span'), i = document.createElement('i');
    i.className = kind;
    i.style.borderColor = `var(--${ink})`;
    if (kind === 'disc')
      i.style.background = `var(--${ink})`;
    span.append(i, text);
    return span;
  }));
}
legend('planeLegend', [['disc', 'lens', 'lens'], ['ring', 'focus', 'counted'], ['', 'object', 'object'],
  ['', 'line', '∞'], ['dash', 'line', '2 m'], ['dot', 'zoom', 'library']]);
legend('timeLegend', [['', 'zoom', 'zoom'], ['', 'focus', 'focus'], ['', 'object', 'best'], ['', 'value', 'value']]);

// ---- Hands

const held = new Map();
function hold(name) {
  if (held.has(name))
    return;
  endStory();
  held.set(name, frame(name === 'tele' || name === 'wide' ? 'stopZoom' : 'stopFocus'));
  document.querySelector(`[data-hold=${name}]`).classList.add('held');
  send(frame(name));
}
function release(name) {
  if (!held.has(name))
    return;
  send(held.get(name));
  held.delete(name);
  document.querySelector(`[data-hold=${name}]`).classList.remove('held');
}
document.querySelectorAll('.hold').forEach(button => {
  const name = button.dataset.hold;
  button.addEventListener('pointerdown', event => { button.setPointerCapture(event.pointerId); hold(name); });
  for (const end of ['pointerup', 'pointercancel', 'blur'])
    button.addEventListener(end, () => release(name));
  button.addEventListener('keydown', event => { if (event.key === ' ' || event.key === 'Enter') { event.preventDefault(); hold(name); } });
  button.addEventListener('keyup', event => { if (event.key === ' ' || event.key === 'Enter') release(name); });
});
addEventListener('blur', () => [...held.keys()].forEach(release));

$('push').onclick = () => send(frame('push'));
$('cancel').onclick = () => input('order cancel');
$('home').onclick = () => send(frame('home'));
$('askZoom').onclick = () => send(frame('askZoom'));
$('askFocus').onclick = () => send(frame('askFocus'));
$('zoomTo').onchange = event => { send(directFrame('zoom', +event.target.value)); event.target.blur(); };
$('focusTo').onchange = event => { send(directFrame('focus', +event.target.value)); event.target.blur(); };
$('raw').onsubmit = event => {
  event.preventDefault();
  send($('bytes').value.replaceAll(' ', '').toUpperCase());
};

function usePreset(number, isStoring) { return send(presetFrame(isStoring, number)); }
for (let number = 1; number <= 8; number++) {
  const button = document.createElement('button');
  button.textContent = number;
  button.dataset.preset = number;
  button.title = `recall; with Store or Shift: store preset ${number}`;
  button.setAttribute('aria-label', 'Preset ' + number);
  button.onclick = event => {
    usePreset(number, event.shiftKey || $('store').getAttribute('aria-pressed') === 'true');
    press($('store'), false);
  };
  $('presets').append(button);
}
const store = document.createElement('button');
store.id = 'store';
store.textContent = 'store';
store.onclick = () => press(store, store.getAttribute('aria-pressed') !== 'true');
$('presets').append(store);
press(store, false);

// ---- World

let wanted = null;
let isMoving = false;
async function moveObject(dioptres) {
  wanted = dioptres;
  if (isMoving)
    return;
  isMoving = true;
  while (wanted !== null) {
    const to = wanted;
    wanted = null;
    await input('set distance ' + (to < 0.002 ? 'inf' : (1 / to).toFixed(3)));
  }
  isMoving = false;
}
$('distance').oninput = event => { set($('metres'), spellMetres(+event.target.value)); moveObject(+event.target.value); };
$('night').onclick = () => input('set night ' + (model.state.night ? 'off' : 'on'));
document.querySelectorAll('[data-fault]').forEach(button => {
  button.onclick = () => input(`fault ${button.dataset.fault} ${button.getAttribute('aria-pressed') === 'true' ? 'off' : 'on'}`);
});
$('loseZoom').onclick = () => input('lose zoom 60');
$('loseFocus').onclick = () => input('lose focus 30');
$('power').onclick = () => order('cycle');

// Name, words, from, to, step, usual.
const FLAWS = [['noise', 'noise of the statistics ×', 0, 16, 0.5, 1], ['backlash-focus', 'slack in the focus gear', 0, 32, 1, 0],
  ['backlash-zoom', 'slack in the zoom gear', 0, 32, 1, 0], ['delay', 'statistics late by frames', 0, 4, 1, 0],
  ['slip', 'share of periods that lose steps', 0, 0.2, 0.01, 0], ['exposure', 'exposure, share of a frame', 0, 1, 0.05, 0],
  ['flicker', 'lamps flicker', 0, 0.5, 0.01, 0], ['brightness', 'light ×', 0.1, 4, 0.1, 1],
  ['contrast', 'contrast ×', 0, 1, 0.01, 1], ['approach', 'object nears, dioptres a second', -0.2, 0.2, 0.01, 0],
  ['drift', 'curves drift in the warmth', -100, 100, 1, 0]];
$('flaw').append(...FLAWS.map(([name, text]) => new Option(text, name)));
const flaw = () => FLAWS.find(([name]) => name === $('flaw').value);
function showFlaw() {
  const [name, , , , , usual] = flaw();
  const value = model.state?.world?.['set ' + name] ?? usual;
  if (!isBusy($('much')))
    $('much').value = value;
  set($('muchText'), String(+$('much').value));
}
$('flaw').onchange = () => {
  const [, , least, most, step] = flaw();
  Object.assign($('much'), { min: least, max: most, step });
  showFlaw();
};
$('flaw').onchange();
$('much').oninput = () => set($('muchText'), String(+$('much').value));
$('much').onchange = () => input(`set ${flaw()[0]} ${+$('much').value}`);

// ---- Time

const togglePause = () => order(model.state?.paused ? 'go' : 'pause');
const goBack = ms => { endStory(); return order('rewind ' + Math.max(0, Math.round(ms))); };
$('pause').onclick = togglePause;
$('step').onclick = () => order('step');
$('back').onclick = () => goBack(model.state.t - 30000);
$('speed').onchange = event => { order('pace ' + event.target.value); event.target.blur(); };
$('story').onclick = toggleStory;
const line = document.querySelector('#time canvas');
line.onpointermove = event => { pointAt(event.offsetX); drawn = -1; };
line.onpointerleave = () => { pointAt(null); drawn = -1; };
line.onclick = event => { const t = timeAt(event.offsetX); if (t !== null && t < model.state.t) goBack(t); };

// ---- Settings

$('more').onclick = () => {
  const files = model.pictures.map(path => path.replace(/.*\//, ''));
  $('image').replaceChildren(...['generated scene', ...files].map((name, i) => new Option(name, i)));
  $('image').value = 1 + model.pictures.indexOf(model.lens?.picture ?? '');
  $('settings').showModal();
};
document.querySelectorAll('[data-setting]').forEach(box => {
  box.onchange = () => input(`setting ${box.dataset.setting} ${box.type === 'checkbox' ? +box.checked : +box.value}`);
});
$('replies').onchange = event => order('cycle replies=' + event.target.value);
$('image').onchange = event => order('cycle picture=' + event.target.value);
$('fresh').onclick = () => { order(`new seed=${+$('seed').value} lens=${$('lens').value}`); $('settings').close(); };
$('calibrate').onclick = () => { input('order calibrate'); $('settings').close(); };

// ---- Keys

const KEYS = { '+': 'tele', '=': 'tele', '-': 'wide', 'ArrowUp': 'far', 'ArrowDown': 'near' };
const isTyping = event => event.target.matches('input:not([type=radio]):not([type=checkbox]), select, textarea, [tabindex]') || $('settings').open;
const nudge = by => moveObject(Math.max(0, Math.min(1, (last()?.[DIOPTRES] ?? 0) + by)));
const ONCE = { ' ': togglePause, o: () => $('push').click(), Escape: () => $('cancel').click(), c: () => $('cancel').click(),
  h: () => $('home').click(), n: () => $('night').click(), s: toggleStory, '.': () => $('step').click(), '?': () => $('more').click(),
  ArrowLeft: () => nudge(-0.02), ArrowRight: () => nudge(0.02) };
addEventListener('keydown', event => {
  if (isTyping(event) || event.ctrlKey || event.metaKey || event.altKey)
    return;
  const digit = /^Digit([1-8])$/.exec(event.code);
  if (KEYS[event.key] && !event.repeat)
    hold(KEYS[event.key]);
  else if (digit && !event.repeat)
    usePreset(+digit[1], event.shiftKey);
  else if (event.key === 'ArrowLeft' && event.shiftKey)
    goBack(model.state.t - 30000);
  else if (ONCE[event.key] && !(event.key === ' ' && event.target.matches('button')))
    ONCE[event.key]();
  else if (!KEYS[event.key])
    return;
  event.preventDefault();
});
addEventListener('keyup', event => { if (KEYS[event.key]) release(KEYS[event.key]); });

loop();
