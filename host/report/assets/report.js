'use strict';
// The report: the figures, the cursor, the zoom.

const LEAST_SPAN_MS = 1000;
const SEEN_MS = 250; // the screen shows a message up to so much later

// --- Figures

function figure(number, title, state, times = [], more = '') {
  const element = make(times.length ? 'button' : 'div', undefined, 'figure');
  if (times.length) element.type = 'button';
  element.dataset.state = state;
  element.append(make('b', number), make('span', title));
  if (more) element.append(make('span', more));
  if (!times.length) return element;
  element.title = 'Go to the next one';
  element.addEventListener('click', () => moveCursor((times.find((time) => time > shown.cursor) ?? times[0]) + SEEN_MS));
  return element;
}

const counted = (count, word) => (count === 1 ? word : `${word}s`);

function showFigures() {
  const { overloads, twoBlocks, lostLinks, broken } = log.figures;
  const isWhole = log.filmEnd >= log.end; // the film, which knows the lost links
  byId('figures').replaceChildren(
    figure(lengthOf(log.end), 'length of the log', '', [], `${log.frames.toLocaleString('en-US')} frames`),
    figure(`${overloads.count}`, counted(overloads.count, 'overload'), overloads.count ? 'bad' : 'good', overloads.times,
      overloads.most === null ? '' : `greatest ${overloads.most.toFixed(1)} %`),
    figure(`${twoBlocks.count}`, counted(twoBlocks.count, 'two-block'), twoBlocks.count ? 'bad' : 'good', twoBlocks.times,
      twoBlocks.count ? `${lengthOf(twoBlocks.total)} in all` : ''),
    figure(`${lostLinks.count}`, counted(lostLinks.count, 'lost link'), lostLinks.count ? 'bad' : isWhole ? 'good' : '', lostLinks.times,
      [lostLinks.count ? `${lengthOf(lostLinks.total)} in all` : '', isWhole ? '' : `until ${clockAt(log.filmEnd).slice(0, 8)}`].filter(Boolean).join(', ')),
    figure(`${broken.count}`, counted(broken.count, 'broken message'), broken.count ? 'warn' : 'good', broken.times));
}

function showHead() {
  setText(byId('title'), log.title);
  setText(byId('about'), `${dayAt(0)} ${clockAt(0).slice(0, 8)} to ${dayAt(log.end) === dayAt(0) ? '' : `${dayAt(log.end)} `}${clockAt(log.end).slice(0, 8)}${log.title === log.logs ? '' : `, ${log.logs}`}`);
  byId('notes').replaceChildren(...log.notes.map((note) => make('li', note)));
  const zone = `UTC${log.zone < 0 ? '-' : '+'}${Math.abs(log.zone / 60)}`;
  setText(byId('foot'), `Times are ${zone}. Weights in ${log.weight ?? 'units not known'}, lengths in ${log.length ?? 'units not known'}, converted where the host changed its units. `
    + 'The screen is computed from the log by the display\'s own application. Messages are listed where they differ from the last of their kind, operating values once a second.');
}

// --- The cursor

function placeCursor() {
  const x = pixelOf(shown.cursor);
  const { left, right } = plotArea();
  byId('cursor').hidden = x < left - 1 || x > right + 1;
  byId('cursor').style.transform = `translateX(${x}px)`;
  setText(byId('now'), clockAt(shown.cursor));
  setText(byId('since'), `${dayAt(shown.cursor)}, ${lengthOf(shown.cursor)} after the beginning`);
  byId('plots').setAttribute('aria-valuenow', String(shown.cursor));
  byId('plots').setAttribute('aria-valuetext', clockAt(shown.cursor));
}

let cursorFrame = 0;
function showCursor() {
  cursorFrame = 0;
  placeCursor();
  showScreen();
  flash();
  showStates(shown.cursor);
  showValues(shown.cursor);
  showMessages();
  drawOverview();
  document.dispatchEvent(new Event('cursor')); // for the drawing of the crane
}

function setCursor(time) {
  shown.cursor = Math.round(Math.min(log.end, Math.max(0, time)));
  cursorFrame ||= requestAnimationFrame(showCursor);
}

// As setCursor, and brings the cursor into what is shown.
function moveCursor(time) {
  setCursor(time);
  const span = shown.to - shown.from;
  if (shown.cursor < shown.from || shown.cursor > shown.to) showPart(shown.cursor - span / 2, shown.cursor + span / 2);
}

// --- What is shown

let partFrame = 0;
function showPart(from, to) {
  const span = Math.min(Math.max(to - from, Math.min(LEAST_SPAN_MS, log.end)), Math.max(log.end, 1));
  const middle = (from + to) / 2;
  shown.from = Math.min(Math.max(0, middle - span / 2), Math.max(0, log.end - span));
  shown.to = shown.from + span;
  partFrame ||= requestAnimationFrame(() => {
    partFrame = 0;
    drawAll();
  });
}

function drawAll() {
  setText(byId('span'), `${clockAt(shown.from).slice(0, 10)} to ${clockAt(shown.to).slice(0, 10)}, ${lengthOf(shown.to - shown.from)}`);
  drawCurves();
  drawBands();
  placeCursor();
  drawOverview();
}

// The time `at` stays where it is on the screen.
function zoom(factor, at) {
  showPart(at - (at - shown.from) * factor, at + (shown.to - at) * factor);
}
const zoomAtCursor = (factor) => zoom(factor, shown.cursor >= shown.from && shown.cursor <= shown.to ? shown.cursor : (shown.from + shown.to) / 2);

byId('zoom-in').addEventListener('click', () => zoomAtCursor(0.4));
byId('zoom-out').addEventListener('click', () => zoomAtCursor(2.5));
byId('zoom-all').addEventListener('click', () => showPart(0, log.end));

// --- Mouse, touch and keyboard

const plotsPlace = byId('plots');
const pixelIn = (event) => event.clientX - plotsPlace.getBoundingClientRect().left;
let range = null; // the pixel where a part is begun to be chosen

plotsPlace.addEventListener('pointerdown', (event) => {
  if (event.button !== 0) return;
  plotsPlace.setPointerCapture(event.pointerId);
  range = event.shiftKey ? pixelIn(event) : null;
  if (range === null) setCursor(timeOfPixel(pixelIn(event)));
});
plotsPlace.addEventListener('pointermove', (event) => {
  if (!plotsPlace.hasPointerCapture(event.pointerId)) return;
  if (range === null) return setCursor(timeOfPixel(pixelIn(event)));
  const cursor = byId('cursor');
  cursor.classList.add('range');
  cursor.style.transform = `translateX(${Math.min(range, pixelIn(event))}px)`;
  cursor.style.width = `${Math.abs(range - pixelIn(event))}px`;
});
plotsPlace.addEventListener('pointerup', (event) => {
  if (range === null) return;
  byId('cursor').classList.remove('range');
  byId('cursor').style.width = '';
  const ends = [timeOfPixel(range), timeOfPixel(pixelIn(event))].sort((a, b) => a - b);
  range = null;
  if (ends[1] - ends[0] > LEAST_SPAN_MS / 10) showPart(...ends);
});
plotsPlace.addEventListener('wheel', (event) => {
  event.preventDefault();
  if (Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
    const by = event.deltaX * (shown.to - shown.from) / 1000;
    return showPart(shown.from + by, shown.to + by);
  }
  zoom(event.deltaY > 0 ? 1.25 : 0.8, timeOfPixel(pixelIn(event)));
}, { passive: false });

const STEPS = { ArrowLeft: -100, ArrowRight: 100, PageUp: -60000, PageDown: 60000 };
plotsPlace.addEventListener('keydown', (event) => {
  const step = STEPS[event.key];
  if (step) moveCursor(shown.cursor + step * (event.shiftKey ? 10 : 1));
  else if (event.key === '+') zoomAtCursor(0.4);
  else if (event.key === '-') zoomAtCursor(2.5);
  else if (event.key === 'Home') showPart(0, log.end);
  else if (event.key === ' ') togglePlay();
  else return;
  event.preventDefault();
});

byId('overview').addEventListener('pointerdown', (event) => {
  byId('overview').setPointerCapture(event.pointerId);
  panTo(event);
});
byId('overview').addEventListener('pointermove', (event) => {
  if (byId('overview').hasPointerCapture(event.pointerId)) panTo(event);
});
function panTo(event) {
  const place = byId('overview').getBoundingClientRect();
  const middle = (event.clientX - place.left) / place.width * log.end;
  const half = (shown.to - shown.from) / 2;
  if (2 * half >= log.end) setCursor(middle);
  else showPart(middle - half, middle + half);
}

// --- Playing

let playing = false;
let playedAt = 0;
let playTime = 0;

function play(now) {
  if (!playing) return;
  playTime = Math.min(log.end, playTime + (now - playedAt) * Number(byId('speed').value));
  playedAt = now;
  moveCursor(playTime);
  if (playTime >= log.end) togglePlay();
  else requestAnimationFrame(play);
}

function togglePlay() {
  playing = !playing;
  byId('play').setAttribute('aria-pressed', String(playing));
  setText(byId('play'), playing ? 'Pause' : 'Play');
  playTime = shown.cursor >= log.end ? 0 : shown.cursor;
  playedAt = performance.now();
  if (playing) requestAnimationFrame(play);
  else flash();
}
byId('play').addEventListener('click', togglePlay);
plotsPlace.addEventListener('pointerdown', () => { if (playing) togglePlay(); });

// --- Printing: the same on white.

function usePrintLook(isPrinted) {
  document.documentElement.classList.toggle('printing', isPrinted);
  makePlots(isPrinted ? LIGHT : DARK);
  drawAll(); // the data are here already, so that all is drawn before this event ends
}
addEventListener('beforeprint', () => usePrintLook(true));
addEventListener('afterprint', () => usePrintLook(false));

// --- Start

async function start() {
  Object.assign(log, await chunkOf('index'));
  log.weight = ['lbs', 'kgs'][log.units];
  log.length = ['feet', 'meters'][log.units];
  log.end = Math.max(log.end, 1);
  plotsPlace.setAttribute('aria-valuemax', String(log.end));
  shown.to = log.end;
  showHead();
  showFigures();
  makePlots(DARK);
  makeBands();
  drawAll();
  setCursor((log.figures.overloads.times[0] ?? 0) + SEEN_MS);
  addEventListener('resize', () => showPart(shown.from, shown.to));
  document.documentElement.dataset.ready = 'true';
}

start().catch((error) => {
  byId('notes').append(make('li', `The report cannot be shown: ${error.message}. It needs a browser of 2023 or later.`));
});
