// The tables of the panel: the bus trace and the database.

import { word } from './words.js';

const byId = (id) => document.getElementById(id);

// A document is laid out again after each change of a text, even to the same one. A text node that stays costs less than
// a new one.
export function setText(element, text) {
  const node = element.firstChild;
  if (node?.nodeType !== Node.TEXT_NODE || node.nextSibling) element.textContent = text;
  else if (node.data !== text) node.data = text;
}

// --- Bus trace

const STATE_WORDS = { up: 'panel.state-up', down: 'panel.state-down', silent: 'panel.state-silent' };

export function stateWord(state) {
  return word(STATE_WORDS[state], state);
}

export function rowOf(cells) {
  const row = document.createElement('tr');
  for (const [text, style] of cells) {
    const cell = row.insertCell();
    cell.textContent = text;
    if (style) cell.className = style;
  }
  return row;
}

function timeOf(seconds) {
  return new Date(seconds * 1000).toISOString().slice(11, 23);
}

function countsOf(bus) {
  const problems = (bus.refused ?? 0) + (bus.dropped ?? 0) + (bus.short ?? 0);
  const counts = [[bus.received, word('panel.in', 'in')], [bus.sent, word('panel.out', 'out')]];
  if (problems) counts.push([problems, word('panel.refused', 'refused or lost')]);
  return `${bus.bus} ${stateWord(bus.state)}, ${counts.map((count) => count.join(' ')).join(', ')}`;
}

function textsOf(frame) {
  return [timeOf(frame.time), frame.direction === 'rx' ? '→' : '←', frame.id, frame.data.replace(/..(?=.)/g, '$& ')];
}

const BUS_MS = 250; // a report comes ten times a second; nobody reads so fast
let bus = {};
let busTimer = 0;

export function noteBus(report) {
  bus = report;
  busTimer ||= setTimeout(showBus, BUS_MS);
}

// The rows stay and change their texts: new ones would take most of the page's time.
function showBus() {
  clearTimeout(busTimer);
  busTimer = 0;
  if (!bus.frames || byId('bus').hidden) return;
  delete byId('bus-counts').dataset.word;
  setText(byId('bus-counts'), countsOf(bus));
  if (byId('bus-hold').getAttribute('aria-pressed') === 'true') return;
  const { rows } = byId('bus-rows');
  while (rows.length > bus.frames.length) rows[rows.length - 1].remove();
  while (rows.length < bus.frames.length) byId('bus-rows').append(rowOf([[''], [''], [''], ['']]));
  [...bus.frames].reverse().forEach((frame, i) => {
    textsOf(frame).forEach((text, cell) => setText(rows[i].cells[cell], text));
  });
}

byId('bus-hold').addEventListener('click', ({ target }) => {
  target.setAttribute('aria-pressed', String(target.getAttribute('aria-pressed') !== 'true'));
});

// --- Database

const parameters = new Map(); // the row of each handle

function formatValue(value) {
  return value === null ? word('panel.not-valid', 'not valid') : String(Math.round(value * 1e6) / 1e6);
}

export function showParameters(list) {
  parameters.clear();
  waitingValues = {};
  const rows = list.map(({ name, handle, value, valid }) => {
    const row = rowOf([[name], [handle, 'number'], [formatValue(value), valid ? 'number' : 'number invalid']]);
    row.dataset.name = name.toLowerCase();
    parameters.set(String(handle), row);
    return row;
  });
  byId('database-rows').replaceChildren(...rows);
  filterParameters();
}

// A hidden table is not kept up: its values wait until it is shown.
let waitingValues = {};

export function changeParameters(values) {
  if (byId('database').hidden) return Object.assign(waitingValues, values);
  for (const [handle, value] of Object.entries(values)) {
    const cell = parameters.get(handle)?.lastElementChild;
    if (!cell) continue;
    cell.textContent = formatValue(value);
    const settled = value === null ? 'number invalid' : 'number';
    cell.className = `${settled} fresh`;
    clearTimeout(cell.timer);
    cell.timer = setTimeout(() => { cell.className = settled; }, 1000);
  }
}

function filterParameters() {
  const wanted = byId('filter').value.trim().toLowerCase();
  let shown = 0;
  for (const row of parameters.values()) {
    row.hidden = !row.dataset.name.includes(wanted);
    if (!row.hidden) ++shown;
  }
  byId('filter-count').textContent = `${shown} ${word('panel.of', 'of')} ${parameters.size}`;
}
byId('filter').addEventListener('input', filterParameters);

// --- A table that was hidden is shown.

export function showTables() {
  showBus();
  if (byId('database').hidden) return;
  changeParameters(waitingValues);
  waitingValues = {};
}
