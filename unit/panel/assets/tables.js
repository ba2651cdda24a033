// The rows of the panel's tables, and the table of the database.

import { word } from './words.js';

const byId = (id) => document.getElementById(id);

// A document is laid out again after each change of a text, even to the same one. A text node that stays costs less than
// a new one.
export function setText(element, text) {
  const node = element.firstChild;
  if (node?.nodeType !== Node.TEXT_NODE || node.nextSibling) element.textContent = text;
  else if (node.data !== text) node.data = text;
}

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
  if (byId('database').hidden) return;
  changeParameters(waitingValues);
  waitingValues = {};
}
