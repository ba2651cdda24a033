// The last ten minutes: curves, bands, and the screen as it was at the cursor. The live screen stays what it is.
//
// The viewer's scripts (viewer/data.js says how they work together) are loaded when the part is opened first. Until then,
// and while it is closed, it costs nothing. Their names are global: log, shown, showPart, setCursor, showScreen and others.

import { setText } from './tables.js';
import { showMessages } from './past_messages.js';
import { followWords, word } from './words.js';

const SCRIPTS = ['chart.min.js', 'data.js', 'curves.js', 'bands.js', 'past_screen.js', 'cursor.js'];
const CURVES = ['load', 'capacity', 'percent', 'radius', 'angle', 'extension'];
const UNITS = { imperial: ['lbs', 'feet'], metric: ['kgs', 'meters'] };
const REFRESH_MS = 1000;
const SAME_CLOCK_MS = 2000; // between two answers the time of day of a moment may move so far
const MOST_CHUNKS = 30;

const byId = (id) => document.getElementById(`history-${id}`);

// --- The data. The unit is asked for what is new since the last answer.

const rows = { t: [], lo: CURVES.map(() => []), hi: CURVES.map(() => []) };
const spans = new Map(); // by row: [begin, end, label]
const chunks = new Map(); // promises of the screens, by name

async function fetchJson(path) {
  const response = await fetch(path);
  if (!response.ok) throw new Error((await response.json()).error);
  return response.json();
}

// A chunk in progress is asked for again when the cursor comes to a time after its end.
async function chunkOf(name, time) {
  const known = await chunks.get(name);
  if (known?.end >= time) return known;
  const fresh = fetchJson(`/api/history/screens/${name.slice(1)}`);
  chunks.set(name, fresh);
  fresh.catch(() => chunks.delete(name));
  if (chunks.size > MOST_CHUNKS) chunks.delete(chunks.keys().next().value);
  return fresh;
}

function forgetAll() {
  for (const list of [rows.t, ...rows.lo, ...rows.hi]) list.length = 0;
  spans.clear();
  chunks.clear();
  picture.chunk = -1;
}

function dropRows(from, count) {
  for (const list of [rows.t, ...rows.lo, ...rows.hi]) list.splice(from, count);
}

// The first tenth of an answer may be the last one of the answer before, with more in it.
function takeCurves({ times, lowest, highest }, start) {
  if (times.length) dropRows(lastUpTo(rows.t, times[0] - 1) + 1, Infinity);
  const known = (value) => value ?? NaN;
  rows.t = rows.t.concat(times);
  CURVES.forEach((name, i) => {
    rows.lo[i] = rows.lo[i].concat(lowest[name].map(known));
    rows.hi[i] = rows.hi[i].concat(highest[name].map(known));
  });
  dropRows(0, lastUpTo(rows.t, start - 1) + 1);
}

function takeBands(bands, start) {
  for (const [name, list] of Object.entries(bands)) {
    const known = spans.get(name) ?? [];
    for (const span of list) {
      const last = known.findLastIndex(([begin]) => begin <= span[0]);
      if (known[last]?.[0] === span[0]) known[last] = span;
      else known.splice(last + 1, 0, span);
    }
    spans.set(name, known);
  }
  log.bands = {};
  spans.forEach((list, name) => {
    const kept = list.filter(([, end]) => end >= start);
    spans.set(name, kept);
    const labels = [...new Set(kept.map(([, , label]) => label))];
    log.bands[name] = { labels, spans: kept.flatMap(([begin, end, label]) => [begin, end - begin, labels.indexOf(label)]) };
  });
}

function isOther(answer) {
  return answer.end < log.end || answer.units !== log.units || Math.abs(answer.begin - log.begin) > SAME_CLOCK_MS;
}

async function fetchLog() {
  const after = rows.t.length ? rows.t[rows.t.length - 1] : 0;
  const answer = await fetchJson(after ? `/api/history/after/${after}` : '/api/history');
  if (!after || !isOther(answer)) return answer;
  forgetAll(); // the unit was started again, its clock was set, or the host has changed its units
  return fetchJson('/api/history');
}

function takeLog(answer) {
  takeCurves(answer.curves, answer.from);
  takeBands(answer.bands, answer.from);
  const [weight, length] = UNITS[answer.units];
  Object.assign(log, {
    rows, weight, length, units: answer.units, recorded: answer.recorded,
    begin: answer.begin, zone: -new Date(answer.begin).getTimezoneOffset(),
    start: answer.from, end: Math.max(answer.end, answer.from + 1), filmEnd: Math.max(answer.end, answer.from + 1),
    curves: [{ width: 0, chunks: [answer.from] }],
    screens: answer.screens.map(({ begin }) => begin), firstScreen: answer.screens[0]?.number ?? 0,
  });
}

// --- The part of the page

const isNow = () => !log.recorded && shown.cursor >= log.end;
let isReady = false;
let scripts = null; // the promise of all scripts
let timer = 0;

function nameMoment(time) {
  const live = isNow();
  byId('moment').hidden = live;
  byId('live').hidden = !live;
  byId('back').hidden = log.recorded;
  if (live) return;
  setText(byId('was'), `${word('panel.history-was', 'As it was at')} ${clockAt(time).slice(0, 10)}`);
  setText(byId('since'), lengthOf(log.end - time) + ' ' + (log.recorded ? word('panel.history-before-end', 'before the end of the bundle') : word('panel.history-ago', 'ago')));
  showScreen();
  showMessages(time);
}

// What the whole ten minutes were stays the whole, and what ended at the present ends there.
function showNewest(before) {
  const whole = shown.from <= before.start && shown.to >= before.end;
  const span = shown.to - shown.from;
  if (whole) showPart(log.start, log.end);
  else if (shown.to >= before.end) showPart(log.end - span, log.end);
  else showPart(shown.from, shown.to);
  setCursor(before.now ? log.end : shown.cursor);
}

async function refresh() {
  const { start, end } = log;
  const before = { start, end, now: isNow() };
  const { units } = log;
  takeLog(await fetchLog());
  if (units !== log.units) makePlots(DARK);
  makeBands();
  showNewest(before);
  byId('plots').setAttribute('aria-valuemin', String(log.start));
  byId('plots').setAttribute('aria-valuemax', String(log.end));
}

async function loadScripts() {
  for (const name of SCRIPTS) {
    const script = document.createElement('script');
    script.src = `/${name}`;
    script.dataset.ids = 'history-';
    const loaded = new Promise((resolve, reject) => Object.assign(script, { onload: resolve, onerror: reject }));
    document.head.append(script);
    await loaded;
  }
}

async function prepare() {
  globalThis.chunkOf = chunkOf;
  await (scripts ??= loadScripts());
  log.kinds = CURVES.map((name) => ({ name, scale: 1 }));
  takeLog(await fetchLog());
  makePlots(DARK);
  makeBands();
  onCursor(nameMoment);
  addEventListener('resize', () => showPart(shown.from, shown.to));
  showPart(log.start, log.end);
  setCursor(log.end);
  isReady = true;
  byId('body').dataset.ready = 'true';
}

function isOpen() {
  return byId('toggle').getAttribute('aria-expanded') === 'true';
}

async function follow() {
  clearTimeout(timer);
  try {
    if (!isReady) await prepare();
    else if (!document.hidden && !log.recorded) await refresh();
    byId('problem').hidden = true;
  } catch (error) {
    byId('problem').hidden = false;
    setText(byId('problem'), `${word('panel.history-problem', 'The history does not come')}: ${error.message ?? ''}`);
  }
  if (isOpen()) timer = setTimeout(follow, REFRESH_MS);
}

function open(wanted) {
  byId('toggle').setAttribute('aria-expanded', String(wanted));
  byId('body').hidden = !wanted;
  clearTimeout(timer);
  if (wanted) follow();
}

byId('toggle').addEventListener('click', () => open(!isOpen()));
byId('back').addEventListener('click', () => moveCursor(log.end));
followWords(() => isReady && nameMoment(shown.cursor));
if (location.hash === '#history') {
  open(true);
  document.getElementById('history').scrollIntoView();
}
