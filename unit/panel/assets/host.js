// The simulated host: draws its crane, moves it, and sends actions to the host simulator.

import { makeCraneViews } from './crane.js';
import { angleText, capacityText, lengthText, massText } from './units.js';
import { followWords, word } from './words.js';

const byId = (id) => document.getElementById(id);
const POLL_MS = 200; // while the crane is seen
const LOOK_MS = 2000; // where there is none
const DRIVE_MS = 150; // between two movements that a hand drags
const UNAVAILABLE = 503;
const AXES = [
  { name: 'angle', word: 'panel.boom-angle', text: angleText, step: 0.5, value: (state) => state.crane.angle },
  { name: 'length', word: 'panel.boom-length', text: lengthText, step: 0.1, value: (state) => state.crane.length },
  { name: 'swing', word: 'panel.swing', text: angleText, step: 1, value: (state) => state.crane.swing },
  { name: 'load', word: 'panel.load', text: massText, step: 100, value: (state) => state.crane.net_load },
  { name: 'hoist', word: 'panel.hook-height', text: lengthText, step: 0.1, value: (state) => state.crane.hook },
];
// The buttons and the actions that they send.
const SWITCHES = [
  { word: 'panel.cut-link', act: () => 'silence 15' },
  { word: 'panel.restart', act: () => 'restart' },
  { word: 'panel.stop', act: () => 'stop' },
];

// The word for a name of the host: of a lamp, a scenario, a jib. Actions and files keep the name itself.
function wordFor(name) {
  return word(`panel.name.${name}`, name);
}

const LANGUAGE_NAMES = ['english', 'spanish', 'portuguese', 'chinese', 'russian', 'french'];
const UNIT_WORDS = { imperial: 'panel.imperial', metric: 'panel.metric' };

// A language's own name stands in the choice of languages.
function languageName(name) {
  return byId('language').querySelector(`[value="${LANGUAGE_NAMES.indexOf(name)}"]`)?.textContent ?? name;
}

let state = null;
const moving = new Set(); // sliders that the user is moving

async function ask(path, body) {
  const options = body === undefined ? {} : {
    method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body),
  };
  const response = await fetch(`/api/host/${path}`, options);
  const answer = await response.json().catch(() => ({}));
  // The unit answers so where no simulator does.
  if (response.status === UNAVAILABLE) throw Object.assign(new Error(answer.error), { isAbsent: true });
  if (!response.ok) throw new Error(answer.error ?? `${word('panel.host-status', 'the host answered with status')} ${response.status}`);
  return answer;
}

function say(problem) {
  delete byId('host-problem').dataset.word;
  byId('host-problem').textContent = problem;
  byId('host-problem').hidden = !problem;
}

function act(action) {
  return ask('do', { do: action }).then(() => say(''), (error) => say(error.message));
}

const sliders = new Map();

function makeAxis(axis) {
  const label = document.createElement('label');
  const slider = document.createElement('input');
  const shown = document.createElement('output');
  const name = document.createElement('span');
  name.dataset.word = axis.word;
  name.textContent = word(axis.word, '');
  slider.type = 'range';
  slider.id = `axis-${axis.name}`;
  slider.step = axis.step;
  slider.disabled = true;
  slider.addEventListener('input', () => {
    moving.add(axis.name);
    shown.textContent = `→ ${axis.text(Number(slider.value))}`;
  });
  slider.addEventListener('change', () => {
    ask('controls', { [axis.name]: Number(slider.value) })
      .then(() => say(''), (error) => say(error.message))
      .finally(() => moving.delete(axis.name));
  });
  label.append(name, slider, shown);
  byId('axes').append(label);
  sliders.set(axis.name, { slider, shown });
}

function makeButton(action) {
  const button = document.createElement('button');
  button.type = 'button';
  button.addEventListener('click', () => act(action()));
  return button;
}

function showAxes() {
  for (const axis of AXES) {
    const { slider, shown } = sliders.get(axis.name);
    [slider.min, slider.max] = state.ranges[axis.name];
    slider.disabled = false;
    if (moving.has(axis.name)) continue;
    const value = axis.value(state);
    if (document.activeElement !== slider && value !== null) slider.value = value;
    shown.textContent = axis.text(value);
  }
}

function showScenarios() {
  const select = byId('scenario');
  const other = select.options.length !== state.scenarios.length;
  if (other) select.replaceChildren(...state.scenarios.map((name) => new Option(wordFor(name), name)));
  if (other || document.activeElement !== select) select.value = state.scenario;
}

function showFaults() {
  const group = byId('host-switches');
  if (!group.children.length) {
    for (const entry of SWITCHES) {
      const button = makeButton(entry.act);
      button.dataset.word = entry.word;
      button.textContent = word(entry.word);
      group.append(button);
    }
    for (const name of state.faults.available) {
      const button = makeButton(() => `fault ${name} ${state.faults.present.includes(name) ? 'off' : 'on'}`);
      button.dataset.fault = name;
      group.append(button);
    }
  }
  for (const button of group.querySelectorAll('[data-fault]')) {
    const { fault } = button.dataset;
    button.textContent = `${word('panel.fault')}: ${wordFor(fault)}`;
    button.setAttribute('aria-pressed', String(state.faults.present.includes(fault)));
  }
}

function showRows() {
  const { crane, configuration } = state;
  const rows = [
    ['panel.radius', lengthText(crane.radius)],
    ['panel.hook-load', massText(crane.load)],
    ['panel.capacity', capacityText(crane.capacity)],
    ['panel.utilisation', crane.percent === null ? '--' : `${Math.round(crane.percent)} %`],
    ['panel.base', wordFor(configuration.base)],
    ['panel.jib', `${wordFor(configuration.jib)}, ${wordFor(configuration.pick)}`],
    ['panel.parts', configuration.parts],
    ['panel.lamps', state.lamps.map(wordFor).join(', ') || word('panel.none')],
    ['panel.host-settings', `${languageName(state.language)}, ${word(UNIT_WORDS[state.units], state.units)}`],
    ['panel.view', wordFor(state.view)],
  ];
  byId('host-rows').replaceChildren(...rows.map(([key, value]) => {
    const row = document.createElement('tr');
    row.insertCell().textContent = word(key);
    row.insertCell().textContent = value;
    return row;
  }));
}

// --- The crane

let wanted = null; // what the hand has moved to since the last request
let driving = 0;

function drive(controls) {
  wanted = { ...wanted, ...controls };
  driving ||= setTimeout(sendDriving, DRIVE_MS);
}

function sendDriving() {
  const controls = wanted;
  wanted = null;
  driving = 0;
  ask('controls', controls).then(() => say(''), (error) => say(error.message));
}

const views = makeCraneViews({
  mass: capacityText,
  length: lengthText,
  tip: () => word('panel.boom-tip', "Boom's tip"),
  hook: () => word('panel.hook-height', 'Hook height'),
  swing: () => word('panel.swing', 'Swing'),
}, drive);

function showCrane() {
  views.show(state);
  const { angle, length, radius, percent, wind } = state.crane;
  byId('crane-numbers').textContent = [
    angleText(angle), lengthText(length), `${word('panel.radius')} ${lengthText(radius)}`,
    percent === null ? '--' : `${Math.round(percent)} %`, `${word('panel.wind', 'Wind')} ${Math.round(wind)} m/s`,
  ].join(' · ');
}

// The crane is seen while a simulator answers. The panel opens at its controls, unless the user has chosen another tab.
let hasChosen = false;
for (const name of ['pointerdown', 'keydown']) {
  document.querySelector('.tabs').addEventListener(name, () => { hasChosen = true; });
}

function showHost(isThere) {
  if (byId('crane').hidden !== isThere) return;
  byId('crane').hidden = !isThere;
  if (isThere && !hasChosen) byId('tab-host').click();
}

function showState() {
  showCrane();
  if (byId('host').hidden) return;
  byId('host-time').textContent = `${state.time.toFixed(0)} s${state.silent ? `, ${word('panel.host-silent')}` : ''}`;
  showScenarios();
  showAxes();
  showFaults();
  showRows();
}

followWords(() => {
  if (!state) return;
  byId('scenario').replaceChildren(); // made anew in the new language
  showState();
});

let known = false; // the last poll succeeded, so a problem on display comes from an action

function lose(problem) {
  known = false;
  say(problem);
  for (const { slider } of sliders.values()) slider.disabled = true;
}

async function look() {
  try {
    const { simulator } = await (await fetch('/api/host')).json();
    showHost(simulator);
    if (!simulator) return lose(word('panel.no-host'));
    state = await ask('state');
    if (!known) say('');
    known = true;
    showState();
  } catch (error) {
    lose(error.isAbsent ? word('panel.no-host') : error.message);
  }
}

async function poll() {
  if (!document.hidden) await look();
  setTimeout(poll, known ? POLL_MS : LOOK_MS);
}

byId('crane').querySelector('.views').append(...views.elements);
AXES.forEach(makeAxis);
byId('axes').addEventListener('submit', (event) => event.preventDefault());
byId('scenario').addEventListener('change', ({ target }) => act(`scenario ${target.value}`));
byId('host-do').addEventListener('submit', (event) => {
  event.preventDefault();
  const input = byId('action');
  if (input.value.trim()) act(input.value.trim()).then(() => input.select());
});
poll();
