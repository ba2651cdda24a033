'use strict';
// The cursor, the zoom, and playing from the cursor, by mouse, touch and keyboard.

const LEAST_SPAN_MS = 1000;

// --- The cursor

function placeCursor() {
  const x = pixelOf(shown.cursor);
  const { left, right } = plotArea();
  byId('cursor').hidden = x < left - 1 || x > right + 1;
  byId('cursor').style.transform = `translateX(${x}px)`;
  setText(byId('now'), clockAt(shown.cursor));
  byId('plots').setAttribute('aria-valuenow', String(shown.cursor));
  byId('plots').setAttribute('aria-valuetext', clockAt(shown.cursor));
}

// Calls `show` with the time, each time that the cursor has moved: for what a page shows beside the viewer's own parts.
const cursorFollowers = [];
function onCursor(show) {
  cursorFollowers.push(show);
}

let cursorFrame = 0;
function showCursor() {
  cursorFrame = 0;
  placeCursor();
  showScreen();
  flash();
  showStates(shown.cursor);
  showValues(shown.cursor);
  cursorFollowers.forEach((show) => show(shown.cursor));
  drawOverview();
}

function setCursor(time) {
  shown.cursor = Math.round(Math.min(log.end, Math.max(log.start, time)));
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
  const whole = Math.max(log.end - log.start, 1);
  const span = Math.min(Math.max(to - from, LEAST_SPAN_MS), whole);
  const middle = (from + to) / 2;
  shown.from = Math.min(Math.max(log.start, middle - span / 2), log.start + whole - span);
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
byId('zoom-all').addEventListener('click', () => showPart(log.start, log.end));

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
  else if (event.key === 'Home') showPart(log.start, log.end);
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
  const middle = log.start + (event.clientX - place.left) / place.width * (log.end - log.start);
  const half = (shown.to - shown.from) / 2;
  if (2 * half >= log.end - log.start) setCursor(middle);
  else showPart(middle - half, middle + half);
}

// --- Playing

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
  playTime = shown.cursor >= log.end ? log.start : shown.cursor;
  playedAt = performance.now();
  if (playing) requestAnimationFrame(play);
  else flash();
}
byId('play').addEventListener('click', togglePlay);
plotsPlace.addEventListener('pointerdown', () => { if (playing) togglePlay(); });
