// The bus trace: the frames and messages of the bus in words, filtered by the unit. The page asks a few times a second for
// the newest rows, so that a busy bus costs it no more than a slow one.

import { rowOf, setText, stateWord } from './tables.js';
import { followWords, word } from './words.js';

const byId = (id) => document.getElementById(id);
const LOOK_MS = 250; // nobody reads faster
const MOST_ASKED = 60; // rows of an answer: fewer than are shown, so that a gap before them is seen
const MOST_ROWS = 150;

function timeOf(seconds) {
  const time = new Date(seconds * 1000);
  return `${time.toTimeString().slice(0, 8)}.${String(time.getMilliseconds()).padStart(3, '0')}`;
}

// --- Counts of the bus, from the unit's stream

let bus = {};

export function noteBus(report) {
  bus = report;
}

function countsOf() {
  const problems = (bus.refused ?? 0) + (bus.dropped ?? 0) + (bus.short ?? 0);
  const counts = [[bus.received, word('panel.in', 'in')], [bus.sent, word('panel.out', 'out')]];
  if (problems) counts.push([problems, word('panel.refused', 'refused or lost')]);
  return `${bus.bus} ${stateWord(bus.state)}, ${counts.map((count) => count.join(' ')).join(', ')}`;
}

function showCounts() {
  if (!bus.frames) return;
  delete byId('bus-counts').dataset.word;
  setText(byId('bus-counts'), countsOf());
}

// --- Rows. What was passed over is a row too, so that no gap goes unnoticed.

const SENDERS = { host: 'panel.from-host', display: 'panel.from-display', other: 'panel.from-other' };
let rows = []; // the newest first: a frame, or { passed: how many }
let newest = 0;
let missed = 0; // frames that never reached the panel
let held = 0; // passed over while the trace is held

const isHeld = () => byId('bus-hold').getAttribute('aria-pressed') === 'true';

function cellsOf(row) {
  if (row.passed) return ['', '', '', `${row.passed} ${word('panel.passed', 'passed over')}`];
  const words = row.words ? `${row.command}  ${row.words}` : row.data.replace(/..(?=.)/g, '$& ');
  return [timeOf(row.time), word(SENDERS[row.from], row.from), row.id, words];
}

// The rows stay and change their texts: new ones would take most of the page's time.
function showRows() {
  const body = byId('bus-rows');
  while (body.rows.length > rows.length) body.lastElementChild.remove();
  while (body.rows.length < rows.length) body.append(rowOf([[''], [''], [''], ['']]));
  rows.forEach((row, i) => {
    cellsOf(row).forEach((text, cell) => setText(body.rows[i].cells[cell], text));
    const kind = row.passed ? 'passed' : row.from;
    if (body.rows[i].dataset.from !== kind) body.rows[i].dataset.from = kind;
  });
}

function showHeld() {
  setText(byId('bus-passed'), isHeld() ? `${word('panel.held', 'Held')}: ${held} ${word('panel.passed', 'passed over')}` : '');
}

// --- Asking

let filter = { kind: 'messages', text: '' }; // of the rows

function queryFor(most) {
  return `/api/bus/trace?${new URLSearchParams({ ...filter, after: newest, most })}`;
}

// The filter is another one, or the unit: what is kept is asked for anew.
function forget() {
  newest = 0;
  held = 0;
  rows = [];
}

// Not every way to change a field fires the same event, so that the fields themselves are looked at.
function hasOtherFilter() {
  const wanted = { kind: byId('bus-kind').value, text: byId('bus-text').value.trim() };
  if (wanted.kind === filter.kind && wanted.text === filter.text) return false;
  filter = wanted;
  return true;
}

const passedIn = (answer) => answer.passed + answer.gone + answer.missed - missed;

function take(answer, isNew) {
  const passed = isNew ? 0 : passedIn(answer);
  newest = answer.next;
  missed = answer.missed;
  rows = [...answer.rows.reverse(), ...(passed ? [{ passed }] : []), ...rows].slice(0, MOST_ROWS);
  showRows();
}

async function look() {
  if (hasOtherFilter()) forget();
  const isNew = newest === 0;
  const onlyCounts = isHeld() && !isNew;
  const response = await fetch(queryFor(onlyCounts ? 0 : isNew ? MOST_ROWS : MOST_ASKED));
  if (!response.ok) return;
  const answer = await response.json();
  if (isHeld() && !onlyCounts && !isNew) return;
  if (answer.next < newest) return forget(); // the unit was started again
  if (onlyCounts) held = passedIn(answer);
  else take(answer, isNew);
  showHeld();
}

async function follow() {
  showCounts();
  if (!document.hidden && !byId('bus').hidden) await look().catch(() => {});
  setTimeout(follow, LOOK_MS);
}

byId('bus-hold').addEventListener('click', ({ target }) => {
  target.setAttribute('aria-pressed', String(!isHeld()));
  held = 0;
  showHeld();
});
followWords(() => {
  showRows();
  showHeld();
  showCounts();
});
follow();
