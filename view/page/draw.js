// The three plots. Each draws what the model holds on a canvas of the size that the page gives it.
import { model, last, objectLine, describeSearch, T, ZOOM, FOCUS, ZOOM_COUNTED, FOCUS_COUNTED, BEST, VALUE, ERROR,
  ACTIVITY, DIOPTRES, HALF, ACTIVITIES, OUTCOMES } from './model.js';

export const WINDOW_MS = 60000;
const MOST_ERROR = 6;
const style = getComputedStyle(document.documentElement);
const colour = name => style.getPropertyValue('--' + name).trim();

// ---- Paper: a canvas with a scale, a frame and a grid

function begin(section) {
  const canvas = document.querySelector(`#${section} canvas`);
  const ratio = window.devicePixelRatio || 1;
  const { width, height } = canvas.getBoundingClientRect();
  if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
  }
  const pen = canvas.getContext('2d');
  pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  pen.clearRect(0, 0, width, height);
  pen.font = '10.5px system-ui, "DejaVu Sans", sans-serif';
  pen.lineJoin = 'round';
  return { pen, width, height };
}

function scale(from, to, low, high) {
  const factor = (high - low) / ((to - from) || 1);
  return value => low + (value - from) * factor;
}

function niceStep(span, count) {
  const rough = span / count, power = 10 ** Math.floor(Math.log10(rough || 1));
  return [1, 2, 5, 10].map(n => n * power).find(step => step >= rough) || power;
}

function grid(pen, x, y, box) {
  pen.strokeStyle = colour('grid');
  pen.fillStyle = colour('dim');
  pen.lineWidth = 1;
  const ticks = (from, to, step, draw) => {
    for (let at = Math.ceil(from / step) * step; at <= to; at += step)
      draw(at);
  };
  pen.beginPath();
  pen.textAlign = 'center';
  ticks(box.x[0], box.x[1], niceStep(box.x[1] - box.x[0], box.columns), at => {
    pen.moveTo(x(at), box.top);
    pen.lineTo(x(at), box.bottom);
    pen.fillText(short(at), x(at), box.bottom + 13);
  });
  pen.textAlign = 'right';
  ticks(box.y[0], box.y[1], niceStep(box.y[1] - box.y[0], box.rows), at => {
    pen.moveTo(box.left, y(at));
    pen.lineTo(box.right, y(at));
    pen.fillText(short(at), box.left - 5, y(at) + 3.5);
  });
  pen.stroke();
}

function short(number) {
  return Math.abs(number) >= 1000 && number % 1000 === 0 ? number / 1000 + 'k' : String(+number.toFixed(2));
}

function curve(pen, xs, ys, x, y, name, { width = 1.5, dash = [] } = {}) {
  pen.strokeStyle = colour(name);
  pen.lineWidth = width;
  pen.setLineDash(dash);
  pen.beginPath();
  xs.forEach((at, i) => pen.lineTo(x(at), y(ys[i])));
  pen.stroke();
  pen.setLineDash([]);
}

function disc(pen, x, y, radius, name, isRing) {
  pen.beginPath();
  pen.arc(x, y, radius, 0, 7);
  pen.lineWidth = 2;
  pen.strokeStyle = pen.fillStyle = colour(name);
  isRing ? pen.stroke() : pen.fill();
}

function clip(pen, box) {
  pen.save();
  pen.beginPath();
  pen.rect(box.left, box.top, box.right - box.left, box.bottom - box.top);
  pen.clip();
}

// ---- The plane of zoom and focus

export function drawPlane() {
  const { pen, width, height } = begin('plane');
  const { lens, lines } = model, now = last();
  if (!lens || !now)
    return;
  const box = { left: 36, right: width - 6, top: 5, bottom: height - 17, columns: 6, rows: 5,
    x: [lens.ends[0] - 150, lens.ends[1] + 150], y: [lens.ends[2] - 150, Math.max(lens.ends[3], 13200) + 150] };
  const x = scale(...box.x, box.left, box.right), y = scale(...box.y, box.bottom, box.top);
  grid(pen, x, y, box);
  clip(pen, box);
  drawEdges(pen, x, y, box);
  if (lines)
    drawLimits(pen, x, y, lines.limits);
  curve(pen, lens.zoom, lens.infinity, x, y, 'line');
  curve(pen, lens.zoom, lens.near, x, y, 'line', { dash: [5, 4] });
  if (lines)
    curve(pen, lines.zoom, lines.line, x, y, 'zoom', { width: 2, dash: [2, 4] });
  curve(pen, lens.zoom, objectLine(now[DIOPTRES]), x, y, 'object', { width: 2.5 });
  drawPresets(pen, x, y);
  drawTrail(pen, x, y, now);
  if (now[ZOOM_COUNTED] > 0)
    disc(pen, x(now[ZOOM_COUNTED]), y(now[FOCUS_COUNTED]), 9, 'focus', true);
  disc(pen, x(now[ZOOM]), y(now[FOCUS]), 6, 'lens');
  pen.restore();
}

// Where the light barriers change: home is found by them.
function drawEdges(pen, x, y, box) {
  const [zoom, focus] = model.lens.edges;
  pen.strokeStyle = pen.fillStyle = colour('value');
  pen.globalAlpha = 0.55;
  pen.lineWidth = 1;
  pen.setLineDash([1, 3]);
  pen.beginPath();
  pen.moveTo(x(zoom), box.top);
  pen.lineTo(x(zoom), box.bottom);
  pen.moveTo(box.left, y(focus));
  pen.lineTo(box.right, y(focus));
  pen.stroke();
  pen.setLineDash([]);
  pen.globalAlpha = 0.9;
  pen.textAlign = 'left';
  pen.fillText('zoom sensor', x(zoom) + 4, box.top + 10);
  pen.fillText('focus sensor', box.left + 4, y(focus) - 3);
  pen.globalAlpha = 1;
}

function drawLimits(pen, x, y, [wide, tele, near, far]) {
  pen.strokeStyle = colour('dim');
  pen.globalAlpha = 0.6;
  pen.lineWidth = 1;
  pen.strokeRect(x(wide), y(far), x(tele) - x(wide), y(near) - y(far));
  pen.globalAlpha = 1;
}

function drawPresets(pen, x, y) {
  for (const [number, [zoom, focus]] of Object.entries(model.state?.presets ?? {})) {
    pen.fillStyle = colour('good');
    pen.save();
    pen.translate(x(zoom), y(focus));
    pen.rotate(Math.PI / 4);
    pen.fillRect(-4, -4, 8, 8);
    pen.restore();
    pen.textAlign = 'center';
    pen.fillText(number, x(zoom), y(focus) - 8);
  }
}

function drawTrail(pen, x, y, now) {
  const trail = model.samples.filter(s => s[T] > now[T] - 8000);
  pen.strokeStyle = colour('lens');
  pen.lineWidth = 2.5;
  for (let i = 1; i < trail.length; i++) {
    pen.globalAlpha = Math.max(0.05, 0.7 * (1 - (now[T] - trail[i][T]) / 8000));
    pen.beginPath();
    pen.moveTo(x(trail[i - 1][ZOOM]), y(trail[i - 1][FOCUS]));
    pen.lineTo(x(trail[i][ZOOM]), y(trail[i][FOCUS]));
    pen.stroke();
  }
  pen.globalAlpha = 1;
}

// ---- The hill

export function drawHill() {
  const { pen, width, height } = begin('hill');
  const now = last(), { hill, state } = model;
  if (!now)
    return;
  // As wide as the lens is off, so that the top grows while it comes nearer.
  const middle = now[BEST];
  const far = Math.max(30, now[HALF] * 14, Math.abs(now[FOCUS] - middle) * 1.3);
  const most = Math.max(4000, now[VALUE], ...hill.map(p => p.value)) * 1.1;
  const box = { left: 32, right: width - 6, top: 5, bottom: height - 17, columns: 4, rows: 4,
    x: [middle - far, middle + far], y: [0, most] };
  const x = scale(...box.x, box.left, box.right), y = scale(...box.y, box.bottom, box.top);
  grid(pen, x, y, box);
  clip(pen, box);
  pen.fillStyle = colour('band');
  pen.fillRect(x(now[BEST] - now[HALF]), box.top, Math.max(2, x(now[HALF]) - x(-now[HALF])), box.bottom - box.top);
  pen.strokeStyle = colour('object');
  pen.lineWidth = 2;
  pen.beginPath();
  pen.moveTo(x(now[BEST]), box.top);
  pen.lineTo(x(now[BEST]), box.bottom);
  pen.stroke();
  drawSearch(pen, x, y, box, now[HALF]);
  drawDots(pen, x, y, hill);
  disc(pen, x(now[FOCUS]), y(now[VALUE]), 6, 'lens');
  pen.restore();
  sayVerdict(pen, box, state);
}

const MOST_UNLIKE = 0.4; // a parabola through coarser values has another height, and is left out
const REACH = 2.6; // half depths, of a parabola

// Where the robust search has bracketed the peak, and its fine passes' parabolas, the last one bright.
function drawSearch(pen, x, y, box, half) {
  const { search, hill } = model;
  if (!search)
    return;
  const left = x(search.estimate - search.width / 2), right = x(search.estimate + search.width / 2);
  pen.fillStyle = colour('pale');
  pen.globalAlpha = 0.45;
  pen.fillRect(left, box.top, right - left, box.bottom - box.top);
  const highest = Math.max(...hill.map(p => p.value));
  search.passes.forEach(({ vertex, top, curvature }, i) => {
    if (Math.abs(top - highest) > MOST_UNLIKE * highest)
      return;
    const places = Array.from({ length: 41 }, (_, k) => (k / 20 - 1) * REACH);
    pen.globalAlpha = i + 1 < search.passes.length ? 0.4 : 1;
    curve(pen, places.map(u => vertex + u * half), places.map(u => top * (1 - curvature * u * u)), x, y, 'zoom', { width: 2 });
    disc(pen, x(vertex), y(top), 4, 'zoom', true);
  });
  pen.globalAlpha = 1;
}

// An arrow a sample, pointing where the lens went; those of this run bright.
function drawDots(pen, x, y, hill) {
  for (const { focus, value, way, stretch } of hill) {
    const isNow = stretch === model.stretch || stretch === hill[hill.length - 1].stretch;
    pen.fillStyle = colour(isNow ? (way > 0 ? 'focus' : 'object') : 'line');
    pen.globalAlpha = isNow ? 1 : 0.3;
    pen.beginPath();
    pen.moveTo(x(focus) + way * 5, y(value));
    pen.lineTo(x(focus) - way * 3.5, y(value) - 4);
    pen.lineTo(x(focus) - way * 3.5, y(value) + 4);
    pen.fill();
  }
  pen.globalAlpha = 1;
}

function sayVerdict(pen, box, state) {
  if (!state?.runs)
    return;
  const lines = [`run ${state.runs}: ${OUTCOMES[state.verdict] || 'under way'}`, `${state.frames} frames`,
    ...describeSearch()];
  pen.textAlign = 'left';
  lines.forEach((line, i) => {
    pen.globalAlpha = 0.75; // the dots stay behind the words
    pen.fillStyle = colour('card');
    pen.fillRect(box.left + 4, box.top + 1 + 13 * i, pen.measureText(line).width + 4, 13);
    pen.globalAlpha = 1;
    pen.fillStyle = colour(i < 2 ? 'dim' : 'zoom');
    pen.fillText(line, box.left + 6, box.top + 11 + 13 * i);
  });
}

// ---- The last minute

let pointer = null;
let scaleOfTime = null;

export function pointAt(place) { pointer = place; }
export function timeAt(place) { return scaleOfTime ? scaleOfTime(place) : null; }

export function drawTime() {
  const { pen, width, height } = begin('time');
  const now = last();
  if (!now)
    return;
  const end = Math.max(model.state.t, WINDOW_MS), left = 58, right = width - 6, bottom = height - 16;
  const x = scale(end - WINDOW_MS, end, left, right);
  scaleOfTime = place => scale(left, right, end - WINDOW_MS, end)(place);
  drawStretches(pen, x, left, right);
  drawSeconds(pen, x, end, bottom);
  const lane = (i, share) => 34 + (bottom - 34) * (i / 4) + (share ?? 0) * (bottom - 34) / 4;
  const within = (i, from, to) => scale(from, to, lane(i, 0.93), lane(i, 0.1));
  const { ends } = model.lens;
  const focusRange = rangeOf([FOCUS, BEST], 120);
  const value = Math.max(6000, ...model.samples.map(s => s[VALUE]));
  const lanes = [
    ['zoom', [[ZOOM, 'zoom', 2]], within(0, ends[0], ends[1])],
    ['focus', [[BEST, 'object', 3], [FOCUS, 'focus', 1.6]], within(1, ...focusRange)],
    ['error', [[ERROR, 'lens', 1.6]], within(2, -MOST_ERROR, MOST_ERROR)],
    ['value', [[VALUE, 'value', 1.6]], within(3, 0, value)],
  ];
  lanes.forEach(([name, rows, y], i) => {
    pen.strokeStyle = colour('grid');
    pen.beginPath();
    pen.moveTo(left, lane(i));
    pen.lineTo(right, lane(i));
    pen.stroke();
    if (name === 'error') {
      pen.fillStyle = colour('band');
      pen.fillRect(left, y(1), right - left, y(-1) - y(1));
    }
    pen.fillStyle = colour('dim');
    pen.textAlign = 'right';
    pen.fillText({ zoom: 'zoom', focus: 'focus', error: 'off focus', value: 'value' }[name], left - 6, lane(i, 0.58));
    rows.forEach(([field, ink, thick]) => series(pen, field, x, y, ink, thick, name === 'error'));
  });
  drawMarks(pen, x, left);
  drawPointer(pen, x, left, right, bottom);
}

function rangeOf(fields, least) {
  let low = Infinity, high = -Infinity;
  for (const sample of model.samples)
    for (const field of fields) {
      low = Math.min(low, sample[field]);
      high = Math.max(high, sample[field]);
    }
  const more = Math.max(0, least - (high - low)) / 2;
  return [low - more, high + more];
}

function series(pen, field, x, y, ink, thick, isClipped) {
  pen.strokeStyle = colour(ink);
  pen.lineWidth = thick;
  pen.beginPath();
  for (const sample of model.samples) {
    const value = isClipped ? Math.max(-MOST_ERROR, Math.min(MOST_ERROR, sample[field])) : sample[field];
    pen.lineTo(x(sample[T]), y(value));
  }
  pen.stroke();
}

const BRIEFLY = { 1: 'home', 7: 'home', 3: 'zoom', 4: 'hand', 5: 'AF', 6: 'to', 8: 'curve' };
const INKS = { 1: 'value', 7: 'value', 3: 'zoom', 4: 'focus', 5: 'object', 6: 'focus', 8: 'value' };

function drawStretches(pen, x, left, right) {
  let i = 0;
  while (i < model.samples.length) {
    const activity = model.samples[i][ACTIVITY];
    let j = i;
    while (j + 1 < model.samples.length && model.samples[j + 1][ACTIVITY] === activity)
      j++;
    const from = Math.max(left, x(model.samples[i][T])), to = Math.min(right, x(model.samples[j][T] + 40));
    if (INKS[activity] && to > from)
      stretch(pen, from, to, colour(INKS[activity]), [ACTIVITIES[activity], BRIEFLY[activity]]);
    i = j + 1;
  }
}

// In the longest of its names that fits.
function stretch(pen, from, to, ink, names) {
  pen.fillStyle = ink;
  pen.globalAlpha = 0.28;
  pen.fillRect(from, 3, to - from, 15);
  pen.globalAlpha = 1;
  pen.fillRect(from, 3, 2, 15);
  pen.textAlign = 'left';
  pen.fillStyle = colour('text');
  const name = names.find(one => pen.measureText(one).width + 3 <= to - from);
  if (name)
    pen.fillText(name, from + 3, 14);
}

function drawSeconds(pen, x, end, bottom) {
  pen.textAlign = 'center';
  pen.fillStyle = colour('dim');
  pen.strokeStyle = colour('grid');
  for (let s = Math.ceil((end - WINDOW_MS) / 10000) * 10; s * 1000 <= end; s += 10) {
    pen.beginPath();
    pen.moveTo(x(s * 1000), 20);
    pen.lineTo(x(s * 1000), bottom);
    pen.stroke();
    pen.fillText(s + ' s', Math.min(x(s * 1000), x(end) - 12), bottom + 12);
  }
}

// What a controller has sent.
function drawMarks(pen, x, left) {
  let free = left;
  for (const { t, text } of model.marks) {
    const at = x(t);
    if (at < left)
      continue;
    pen.fillStyle = colour('focus');
    pen.beginPath();
    pen.moveTo(at, 19);
    pen.lineTo(at - 3, 25);
    pen.lineTo(at + 3, 25);
    pen.fill();
    const label = text.replace('zoom toward ', '').replace('focus toward ', '').replace(/^(zoom|focus): /, '');
    if (at > free && label.length < 22) {
      pen.textAlign = 'left';
      pen.fillText(label, at - 3, 34);
      free = at + 6 + pen.measureText(label).width;
    }
  }
}

function drawPointer(pen, x, left, right, bottom) {
  if (pointer === null || pointer < left || pointer > right)
    return;
  const t = timeAt(pointer);
  const sample = model.samples.find(s => s[T] >= t);
  pen.strokeStyle = colour('text');
  pen.lineWidth = 1;
  pen.beginPath();
  pen.moveTo(pointer, 3);
  pen.lineTo(pointer, bottom);
  pen.stroke();
  if (!sample)
    return;
  const text = `↺ ${(t / 1000).toFixed(1)} s   focus ${sample[FOCUS]}   ${sample[ERROR].toFixed(1)} half depths off`;
  const width = pen.measureText(text).width + 12;
  const from = Math.min(pointer + 6, right - width);
  pen.fillStyle = colour('card');
  pen.fillRect(from, 34, width, 17);
  pen.strokeRect(from, 34, width, 17);
  pen.fillStyle = colour('text');
  pen.textAlign = 'left';
  pen.fillText(text, from + 6, 46);
}
