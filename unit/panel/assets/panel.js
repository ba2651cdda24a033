// The front panel: shows the unit's screen and state as they change, and sends its keys.

import { changeParameters, rowOf, setText, showParameters, showTables, stateWord } from './tables.js';
import { noteBus } from './trace.js';
import { followWords, setLanguage, word } from './words.js';

const byId = (id) => document.getElementById(id);

// --- Words

function followLanguage() {
  const chosen = byId('language').value;
  setLanguage(chosen === '' ? screenState.variables.OrvikLanguage ?? 0 : Number(chosen));
}

// What changes with the unit's state says its own word each time.
followWords(() => {
  for (const chip of document.querySelectorAll('.chip[data-key]')) sayChip(chip);
  saySound();
  nameKeys();
  nameScreen();
});

function sayChip(chip) {
  setText(chip.lastElementChild, word(chip.dataset.key, chip.dataset.text) + chip.dataset.more);
}

// `more` is what no catalogue has: names of services and the like.
function setChip(id, state, key, text, more = '') {
  const chip = byId(id);
  if (chip.dataset.state === state && chip.dataset.key === key && chip.dataset.more === more) return;
  Object.assign(chip.dataset, { state, key, text, more });
  sayChip(chip);
}

// --- Units of the host's numbers. They are the display's, or those chosen here.

function followUnits() {
  const shown = shadow.querySelector('[data-widget$="UnitsDistance"], [id$="UnitsDistance"]')?.textContent ?? '';
  const displays = /^(feet|pies|pieds)$/.test(shown) ? 'feet' : 'meters';
  document.documentElement.dataset.units = byId('units').value || displays;
}

// --- Screen. The SVG is in a shadow tree, so that its styles and those of the page do not affect each other.

const SVG = 'http://www.w3.org/2000/svg';
// Classes of the whole picture make the flashing elements dim: an animation of each element would begin anew with each
// change of its state, and costs the browser a layer.
const SCREEN_STYLE = `
  svg { display: block; width: 100%; height: 100%; }
  [display="none"] { display: inline; visibility: hidden; }
  .dim-once [data-flashing="1"], .dim-twice [data-flashing="2"] { opacity: 0.25; }`;
const FLASH_MS = 250; // a quarter of the slow flash, and a half of the quick one
const stillness = matchMedia('(prefers-reduced-motion: reduce)');

function flash() {
  const step = Math.floor(Date.now() / FLASH_MS);
  const picture = shadow.querySelector('svg');
  picture?.classList.toggle('dim-once', !stillness.matches && step % 4 >= 2);
  picture?.classList.toggle('dim-twice', !stillness.matches && step % 2 === 1);
}

const shadow = byId('screen').attachShadow({ mode: 'open' });
setInterval(flash, FLASH_MS);
// Elements whose text names a key or the unit of length, and those within them.
const NAMING = '[data-key], [data-key] *, [data-widget$="UnitsDistance"], [id$="UnitsDistance"]';
let namesSomething = new Set();
const screenState = { revision: -1, title: '--', variables: {} };

function parseSvg(text) {
  const parsed = new DOMParser().parseFromString(text, 'image/svg+xml').documentElement;
  return document.importNode(parsed, true);
}

function showScreen(state) {
  sign.note();
  const style = document.createElement('style');
  style.textContent = SCREEN_STYLE;
  shadow.replaceChildren(style, parseSvg(state.svg));
  forgetChanges();
  namesSomething = new Set([...shadow.querySelectorAll(NAMING)].map((element) => element.id));
  screenState.revision = state.revision;
  screenState.variables = state.variables;
  byId('page').textContent = state.page;
  screenState.title = state.title || state.page;
  nameScreen();
  nameKeys();
  showLink();
  followLanguage();
  followUnits();
}

function nameScreen() {
  const name = `${word('panel.screen', "The unit's screen")}, ${word('panel.page', 'Page')} ${screenState.title}`;
  byId('screen').setAttribute('aria-label', name);
}

function changeElement(change) {
  const element = shadow.getElementById(change.id);
  if (!element) return;
  for (const [name, value] of Object.entries(change.attributes)) {
    if (value === null) element.removeAttribute(name);
    else if (element.getAttribute(name) !== value) element.setAttribute(name, value);
  }
  if (change.content === undefined) return;
  if (!/[<&]/.test(change.content)) return setText(element, change.content);
  element.replaceChildren(...parseSvg(`<svg xmlns="${SVG}">${change.content}</svg>`).childNodes);
}

function changeScreen(change) {
  sign.note();
  if (change.revision <= screenState.revision) return;
  if (change.previous !== screenState.revision) return reconnect();
  screenState.revision = change.revision;
  change.elements.forEach(noteElement);
  Object.assign(screenState.variables, change.variables);
  changesTimer ||= setTimeout(applyChanges, lastApplied + APPLY_MS - performance.now());
}

// The service says what has changed up to a hundred times a second. The document takes it thirty times a second: each time
// costs a layout and a painting, however little has changed.
const APPLY_MS = 33;
const changes = new Map(); // what an element has still to become, by its id
let changesTimer = 0;
let lastApplied = 0;

function noteElement(change) {
  const before = changes.get(change.id);
  changes.set(change.id, { ...before, ...change, attributes: { ...before?.attributes, ...change.attributes } });
}

function forgetChanges() {
  clearTimeout(changesTimer);
  changesTimer = 0;
  changes.clear();
}

function applyChanges() {
  lastApplied = performance.now();
  changes.forEach(changeElement);
  const names = [...changes.keys()].some((id) => namesSomething.has(id));
  forgetChanges();
  showLink();
  followLanguage();
  if (!names) return;
  nameKeys();
  followUnits();
}

function showLink() {
  const state = screenState.variables['Screen.DataState'];
  if (state === 1 || state === 5) setChip('link', 'good', 'panel.link-heard', 'Host link heard');
  else if (state === 2) setChip('link', 'bad', 'panel.link-lost', 'Host link lost');
  else setChip('link', 'unknown', 'panel.link-unknown', 'Host link unknown');
}

// --- Keys

const KEYS = 8;
const buttons = new Map();
const held = new Set(); // the keys that this page holds
let boardKeys = [];
const sending = new Map(); // the last request of each key: a release waits for it, so that it never arrives before its press

function postKey(key, wanted) {
  return fetch(`/api/keys/${key}`, {
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(wanted),
    keepalive: true,
  }).catch(() => {});
}

function sendKey(key, wanted) {
  const sent = (sending.get(key) ?? Promise.resolve()).then(() => postKey(key, wanted));
  sending.set(key, sent);
  sent.then(() => sending.get(key) === sent && sending.delete(key));
}

// The unit holds a key on a lease of a second, so that it does not stay down when the browser ends.
const RENEW_MS = 250;

function renewKeys() {
  for (const key of held) {
    if (!sending.has(key)) sendKey(key, { renew: true });
  }
}
setInterval(renewKeys, RENEW_MS);

// A tap is held for at least so long: the application's scanner does not take a shorter press.
const TAP_MS = 150;
const pressedAt = new Map();
const releases = new Map(); // timers of taps that have ended

function setKey(key, down) {
  if (held.has(key) === down) return;
  clearTimeout(releases.get(key));
  if (down) pressedAt.set(key, performance.now());
  if (down) held.add(key);
  else held.delete(key);
  showKey(key);
  sendKey(key, down ? { down, lease: true } : { down });
}

function showKey(key) {
  buttons.get(key).setAttribute('aria-pressed', String(held.has(key) || boardKeys[key - 1] === true));
}

function releaseKey(key) {
  const left = pressedAt.get(key) + TAP_MS - performance.now();
  if (!(left > 0)) return setKey(key, false);
  clearTimeout(releases.get(key));
  releases.set(key, setTimeout(() => setKey(key, false), left));
}

function releaseAll() {
  for (const key of [...held]) setKey(key, false);
}

function makeKey(key) {
  const button = document.createElement('button');
  button.type = 'button';
  button.id = `key-${key}`;
  button.textContent = key;
  button.style.top = `${((40 + Math.floor((key - 1) / 2) * 100) / 480) * 100}%`;
  button.addEventListener('pointerdown', (event) => {
    if (event.button > 0) return;
    button.setPointerCapture(event.pointerId);
    setKey(key, true);
  });
  for (const name of ['pointerup', 'pointercancel', 'lostpointercapture']) {
    button.addEventListener(name, () => releaseKey(key));
  }
  const activates = (event) => event.key === ' ' || event.key === 'Enter';
  button.addEventListener('keydown', (event) => {
    if (!activates(event)) return;
    event.preventDefault();
    setKey(key, true);
  });
  button.addEventListener('keyup', (event) => activates(event) && releaseKey(key));
  button.addEventListener('blur', () => releaseKey(key));
  button.addEventListener('contextmenu', (event) => event.preventDefault());
  buttons.set(key, button);
  byId(key % 2 ? 'keys-left' : 'keys-right').append(button);
  showKey(key);
}

// Sets each key's accessible name from its label on the screen.
function nameKeys() {
  for (const [key, button] of buttons) {
    const label = shadow.querySelector(`[data-key="${key}"]`)?.textContent ?? '';
    const own = `${word('panel.key', 'Key')} ${key}`;
    const name = label ? `${own}, ${label}` : own;
    if (button.getAttribute('aria-label') !== name) button.setAttribute('aria-label', name);
  }
}

function keyOfEvent(event) {
  const typing = event.target instanceof HTMLInputElement || event.target instanceof HTMLSelectElement;
  if (typing || event.ctrlKey || event.altKey || event.metaKey) return 0;
  const key = /^(?:Digit|Numpad)([1-8])$/.exec(event.code)?.[1] ?? (/^[1-8]$/.test(event.key) ? event.key : 0);
  return Number(key);
}

addEventListener('keydown', (event) => {
  const key = keyOfEvent(event);
  if (key && !event.repeat) setKey(key, true);
});
addEventListener('keyup', (event) => {
  const key = keyOfEvent(event);
  if (key) releaseKey(key);
});
addEventListener('blur', releaseAll);
addEventListener('pagehide', releaseAll);
document.addEventListener('visibilitychange', () => document.hidden && releaseAll());

// --- Beeper and backlight

const CLICK_S = 0.05;
let audio = null; // context and gain; browsers allow sound only after the user has requested it
let lastPulses = null;

function saySound() {
  const on = byId('sound').getAttribute('aria-pressed') === 'true';
  byId('sound').textContent = on ? word('panel.sound-on', 'Sound on') : word('panel.sound-off', 'Sound off');
}

function toggleSound() {
  const button = byId('sound');
  const on = button.getAttribute('aria-pressed') !== 'true';
  button.setAttribute('aria-pressed', String(on));
  saySound();
  if (on && !audio) {
    const context = new AudioContext();
    const oscillator = new OscillatorNode(context, { type: 'square', frequency: 2400 });
    const gain = new GainNode(context, { gain: 0 });
    oscillator.connect(gain).connect(context.destination);
    oscillator.start();
    audio = { context, gain };
  }
  if (on) audio.context.resume();
  else audio?.context.suspend();
}
byId('sound').addEventListener('click', toggleSound);

function soundBeeper(sounding, clicked) {
  if (!audio) return;
  const { gain, context } = audio;
  gain.gain.cancelScheduledValues(context.currentTime);
  gain.gain.setValueAtTime(sounding || clicked ? 0.06 : 0, context.currentTime);
  if (!sounding && clicked) gain.gain.setValueAtTime(0, context.currentTime + CLICK_S);
}

let signTimer = 0;
function showBeeper({ sounding, pulses }) {
  const clicked = lastPulses !== null && pulses > lastPulses;
  lastPulses = pulses;
  soundBeeper(sounding, clicked);
  const sign = byId('beeper');
  const show = (on) => {
    sign.dataset.state = on ? 'on' : 'off';
    sign.lastElementChild.textContent = on ? word('panel.sounding', 'Sounding') : word('panel.silent', 'Silent');
  };
  clearTimeout(signTimer);
  if (sounding || clicked) show(true);
  // A click is too short to see, so its sign stays for 150 ms.
  if (!sounding) signTimer = setTimeout(() => show(false), clicked ? 150 : 0);
}

const DARKEST = 0.15; // keeps a dark screen readable on the panel

function showBacklight({ enabled, period, duty }) {
  const part = enabled && period > 0 ? Math.min(duty / period, 1) : 1;
  byId('screen').style.filter = part < 1 ? `brightness(${DARKEST + (1 - DARKEST) * part})` : '';
  byId('backlight').lastElementChild.textContent = `${word('panel.backlight', 'Backlight')} ${enabled ? `${Math.round(part * 100)} %` : '--'}`;
}

function showBoard(board) {
  if (!board.beeper) return;
  boardKeys = board.keys;
  buttons.forEach((_, key) => showKey(key));
  showBeeper(board.beeper);
  showBacklight(board.backlight);
}

// --- Services

function showHealth(health) {
  if (!health.services) return;
  const rows = health.services.map((service) => {
    const row = rowOf([[service.name], [stateWord(service.state), service.up ? '' : 'down'], [service.detail || '']]);
    const counters = document.createElement('div');
    counters.className = 'counters';
    counters.textContent = Object.entries(service.counters ?? {}).map(([name, count]) => `${name} ${count}`).join(', ');
    row.lastElementChild.append(counters);
    return row;
  });
  byId('service-rows').replaceChildren(...rows);
  const down = health.services.filter((service) => !service.up).map((service) => service.name);
  if (health.up) setChip('health', 'good', 'panel.health-good', 'All services up');
  else setChip('health', 'bad', 'panel.health-bad', 'Down', `: ${down.join(', ') || health.problem || ''}`);
}

// --- Tabs

const tabs = [...document.querySelectorAll('[role="tab"]')];

function selectTab(chosen) {
  for (const tab of tabs) {
    const selected = tab === chosen;
    tab.setAttribute('aria-selected', String(selected));
    tab.tabIndex = selected ? 0 : -1;
    byId(tab.getAttribute('aria-controls')).hidden = !selected;
  }
  showTables();
}
tabs.forEach((tab, i) => {
  tab.addEventListener('click', () => selectTab(tab));
  tab.addEventListener('keydown', (event) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const next = tabs[(i + step + tabs.length) % tabs.length];
    selectTab(next);
    next.focus();
  });
});

// --- The picture is covered when the screen service gives no sign of life: its numbers may be old.

// Calls `late` when `note` was not called for so long. A new timer for each event would cost more than the event.
function makeWatch(limit, late) {
  let timer = 0;
  let last = 0;
  const look = () => {
    const left = last + limit - performance.now();
    timer = left > 0 ? setTimeout(look, left) : 0;
    if (!timer) late();
  };
  return {
    note() {
      last = performance.now();
      timer ||= setTimeout(look, limit);
    },
    end() {
      clearTimeout(timer);
      timer = 0;
    },
  };
}

const SIGN_MS = 2000; // the service sends a sign twice a second
const sign = makeWatch(SIGN_MS, coverPicture);

// The next sign does not follow the revision, so that the page reconnects and gets the whole picture.
function coverPicture() {
  sign.end();
  screenState.revision = -1;
  byId('veil').hidden = false;
  setChip('link', 'unknown', 'panel.link-unknown', 'Host link unknown');
}

// --- Stream. The page reconnects after the unit was started again; the first events are the full state.

const SILENT_MS = 3000; // the unit sends an event at least once a second
const RETRY_MS = 500;
let stream = null;
let retry = 0;

const handlers = {
  screen: showScreen,
  change: changeScreen,
  board: showBoard,
  bus: noteBus,
  parameters: (data) => showParameters(data.parameters),
  database: changeParameters,
  health: showHealth,
  beat: () => {},
};

function heard() {
  silence.note();
  if (!byId('veil').hidden && screenState.revision < 0) return;
  setChip('connection', 'good', 'panel.live', 'Live');
  // The same value again costs a style and a frame of its own.
  if (!byId('veil').hidden) byId('veil').hidden = true;
}

function lose() {
  coverPicture();
  setChip('connection', 'bad', 'panel.disconnected', 'No connection');
  setChip('health', 'unknown', 'panel.health-unknown', 'Services unknown');
  soundBeeper(false, false);
  lastPulses = null;
  held.clear();
  boardKeys = [];
  buttons.forEach((_, key) => showKey(key));
}

function reconnect() {
  stream?.close();
  stream = null;
  silence.end();
  clearTimeout(retry);
  lose();
  retry = setTimeout(connect, RETRY_MS);
}
const silence = makeWatch(SILENT_MS, reconnect);

function connect() {
  stream = new EventSource('/api/stream');
  stream.onerror = reconnect;
  silence.note();
  for (const [name, handle] of Object.entries(handlers)) {
    stream.addEventListener(name, (event) => {
      handle(JSON.parse(event.data));
      if (stream) heard();
    });
  }
}

for (let key = 1; key <= KEYS; ++key) makeKey(key);
byId('language').addEventListener('change', followLanguage);
byId('units').addEventListener('change', followUnits);
setChip('connection', 'wait', 'panel.connecting', 'Connecting');
setLanguage(0);
connect();
