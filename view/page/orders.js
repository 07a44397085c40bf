// Orders to the server, and the frames that a controller would send.
const token = document.querySelector('meta[name=token]').content;
let queue = Promise.resolve();

// One after the other, so that a stop never overtakes its start.
export function order(text) {
  queue = queue.then(() => fetch('order', { method: 'POST', headers: { 'X-Token': token }, body: text }))
    .then(async answer => {
      if (!answer.ok)
        console.warn(text, await answer.text());
      return answer.ok;
    }).catch(() => false);
  return queue;
}

export const send = hex => order('input send ' + hex);
export const input = text => order('input ' + text);

export const isPelco = () => document.querySelector('[name=protocol]:checked').value === 'pelco';

const VISCA = { tele: '8101040727FF', wide: '8101040737FF', far: '8101040802FF', near: '8101040803FF',
  stopZoom: '8101040700FF', stopFocus: '8101040800FF', push: '8101041801FF', askZoom: '81090447FF',
  askFocus: '81090448FF', home: '81010604FF' };

function pelco(first, second, data = 0) {
  const bytes = [1, first, second, 0, data];
  const sum = bytes.reduce((a, b) => a + b) & 0xFF;
  return [0xFF, ...bytes, sum].map(hex).join('');
}
const hex = byte => byte.toString(16).padStart(2, '0').toUpperCase();
const PELCO = { tele: pelco(0, 0x20), wide: pelco(0, 0x40), far: pelco(0, 0x80), near: pelco(1, 0),
  stopZoom: pelco(0, 0), stopFocus: pelco(0, 0), askZoom: pelco(0, 0x55) };

export function frame(name) { return (isPelco() && PELCO[name]) || VISCA[name]; }

export function presetFrame(isStoring, number) {
  if (isPelco())
    return pelco(0, isStoring ? 3 : 7, number);
  return `8101043F0${isStoring ? 1 : 2}${hex(number)}FF`;
}

export function directFrame(what, position) {
  const nibbles = [12, 8, 4, 0].map(shift => hex(position >> shift & 15)).join('');
  return `810104${what === 'zoom' ? '47' : '48'}${nibbles}FF`;
}
