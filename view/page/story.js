// The story that plays by itself: from power-on to an object that comes nearer, with captions.
import { model, last, ZOOM, ACTIVITY, ERROR } from './model.js';
import { order, send, input, frame } from './orders.js';

const caption = document.getElementById('caption');
const button = document.getElementById('story');
const LET_GO_AT = 18600; // steps; tele ends at some 20500
let playing = 0;
let isSlow = false;
let holds = false;

const wait = ms => new Promise(done => setTimeout(done, ms));

async function until(mine, isDone, limitMs = 40000) {
  const start = performance.now();
  while (mine === playing && !isDone() && performance.now() - start < limitMs)
    await wait(40);
  if (mine !== playing)
    throw new Error('stopped');
}

function say(text) {
  caption.textContent = text;
  caption.hidden = !text;
}

async function pace(speed) {
  isSlow = speed < 1;
  await order('pace ' + speed);
}

async function hold(isHeld) {
  holds = isHeld;
  await send(frame(isHeld ? 'tele' : 'stopZoom'));
}

const doing = () => last()?.[ACTIVITY];
const rests = () => doing() === 2;

async function play(mine) {
  const pause = ms => { const end = performance.now() + ms; return until(mine, () => performance.now() > end); };
  await pace(1);
  await order('new');
  say('A camera has just been switched on. It does not know where its lens stands.');
  await until(mine, () => model.state && model.state.t < 3000 && model.samples.length > 10);
  await pause(2500);
  say('It drives both motors until a light barrier changes: home. From there it counts every step.');
  await until(mine, () => doing() === 5);
  say('Now autofocus. Each dot on the hill is a picture; the higher, the sharper. The top is what it looks for.');
  await until(mine, () => rests() && model.state.runs > 0);
  await pause(2500);
  say('A controller holds “tele”. While it zooms, here at half speed, the lens follows its focus line, and the picture stays sharp.');
  await pace(0.5);
  await hold(true);
  await until(mine, () => last()?.[ZOOM] > LET_GO_AT);
  await hold(false);
  await pace(1);
  say('Let go, and it focuses once more.');
  await until(mine, () => doing() === 5, 3000).catch(fail);
  await until(mine, rests);
  await pause(2500);
  say('Something comes to 3 m. The orange line, where this object is sharp, moves away: the picture blurs. Nobody presses anything …');
  const runs = model.state.runs;
  await pace(0.5);
  await input('set distance 3');
  await until(mine, () => doing() === 5);
  say('… but the library has seen it. It tries positions and climbs the new hill, here in slow motion.');
  await until(mine, () => rests() && model.state.runs > runs, 90000);
  await pace(1);
  const off = Math.abs(last()[ERROR]).toFixed(1);
  say(`Sharp again after ${model.state.frames} frames, ${off} half depths of focus off; below 1 nobody sees it.`);
  await pause(6000);
  say('Your turn: hold tele, drag the object, break a sensor, click into the last minute to go back.');
  await pause(8000);
}

function fail(error) {
  if (error.message === 'stopped')
    throw error;
}

export async function toggleStory() {
  const mine = ++playing;
  const isEnding = button.classList.contains('playing');
  button.classList.toggle('playing', !isEnding);
  button.textContent = isEnding ? '▶ Story' : '■ Story';
  say('');
  if (isEnding)
    return holds && hold(false);
  holds = false;
  await play(mine).catch(() => isSlow && pace(1));
  if (mine === playing)
    endStory();
}

export function endStory() {
  playing++;
  button.classList.remove('playing');
  button.textContent = '▶ Story';
  say('');
}
