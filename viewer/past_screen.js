'use strict';
// The display's screen at the cursor: the page's document, with the changes up to the cursor.

const SVG = 'http://www.w3.org/2000/svg';
// Flashing elements are dim for half of their period, as on the front panel.
const SCREEN_STYLE = `
  svg { display: block; width: 100%; height: 100%; }
  .dim-once [data-flashing="1"], .dim-twice [data-flashing="2"] { opacity: 0.25; }`;

const shadow = byId('screen').attachShadow({ mode: 'open' });
// What the shadow tree shows: the chunk, how many of its changes, and the document.
const picture = { chunk: -1, applied: 0, page: '', title: '' };

function parseSvg(text) {
  return document.importNode(new DOMParser().parseFromString(text, 'image/svg+xml').documentElement, true);
}

function changeElement([id, attributes, content]) {
  const element = shadow.getElementById(id);
  if (!element) return;
  for (const [name, value] of Object.entries(attributes)) {
    if (value === null) element.removeAttribute(name);
    else element.setAttribute(name, value);
  }
  if (content === undefined) return;
  if (!/[<&]/.test(content)) setText(element, content);
  else element.replaceChildren(...parseSvg(`<svg xmlns="${SVG}">${content}</svg>`).childNodes);
}

// A page has its document, or the number of the document and what differs from it. Without a name the screen is not known.
async function showPage(page) {
  if (page.page === null) {
    shadow.replaceChildren();
    return Object.assign(picture, { page: '', title: '' });
  }
  const svg = page.svg ?? (await chunkOf(`d${page.document}`)).svg;
  const style = make('style', SCREEN_STYLE);
  shadow.replaceChildren(style, parseSvg(svg));
  page.elements?.forEach(changeElement);
  Object.assign(picture, { page: page.page, title: page.title });
}

async function applyChanges(changes, from, to) {
  // The changes before the last change of the page show nothing any more.
  let first = from;
  for (let i = from; i < to; ++i) if (changes[i][1].page !== undefined) first = i;
  for (let i = first; i < to; ++i) {
    const change = changes[i][1];
    if (change.page !== undefined) await showPage(change);
    else change.elements.forEach(changeElement);
  }
}

async function drawScreen(time) {
  const place = lastUpTo(log.screens, time);
  if (place < 0) return false;
  const number = place + (log.firstScreen ?? 0);
  const chunk = await chunkOf(`s${number}`, time);
  const changes = chunk.changes;
  const wanted = lastUpTo(null, time, changes.length, (i) => changes[i][0]) + 1;
  if (picture.chunk !== number || picture.applied > wanted) {
    await showPage(chunk.start ?? { page: null });
    Object.assign(picture, { chunk: number, applied: 0 });
  }
  await applyChanges(changes, picture.applied, wanted);
  picture.applied = wanted;
  return picture.page !== '';
}

// One picture after the other: a cursor that moves while one is drawn asks for the newest only.
let isDrawing = false;
let isStale = false;

async function showScreen() {
  if (!byId('screen').offsetParent) return; // hidden: the page calls this again when it shows the screen
  isStale = true;
  if (isDrawing) return;
  isDrawing = true;
  while (isStale) {
    isStale = false;
    const time = shown.cursor;
    const isKnown = await drawScreen(Math.min(time, log.filmEnd)).catch(() => false);
    const isLate = time > log.filmEnd;
    byId('veil').hidden = isKnown && !isLate;
    setText(byId('veil'), isLate ? 'The screen is not known here: the film ended before.' : 'It is not known what the screen showed here.');
    setText(byId('page'), `Page ${isKnown ? picture.page : '--'}`);
    byId('screen').dataset.time = time; // the moment that the picture is of
  }
  isDrawing = false;
}

// The flashing follows the cursor's time, so that the picture of a moment is always the same.
function flash() {
  const step = Math.floor((playing ? shown.cursor : 0) / 250);
  const root = shadow.querySelector('svg');
  root?.classList.toggle('dim-once', step % 4 >= 2);
  root?.classList.toggle('dim-twice', step % 2 === 1);
}

function showStates(time) {
  const sounds = labelAt('beeper', time);
  setText(byId('beeper'), sounds ? 'Beeper sounds' : 'Beeper silent');
  byId('beeper').dataset.state = sounds ? 'on' : '';
  const lost = labelAt('link', time);
  setText(byId('link'), lost ? 'Host link lost' : 'Host link OK');
  byId('link').dataset.state = lost ? 'bad' : '';
  const keys = Array.from({ length: 8 }, (_, i) => labelAt(`front key ${i + 1}`, time)).filter(Boolean);
  const reported = labelAt('key reported', time);
  byId('keys').hidden = !keys.length && !reported;
  setText(byId('keys'), [keys.length ? `Key ${keys.join(', ')} down` : '', reported ? `reported: ${reported}` : ''].filter(Boolean).join(', '));
}
