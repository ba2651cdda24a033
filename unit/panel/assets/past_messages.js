// The last messages of the host and the display up to the history's cursor, in words, from the frames that the unit keeps.

import { rowOf, setText } from './tables.js';
import { word } from './words.js';

const MOST_ROWS = 12;
const SENDERS = { host: 'panel.from-host', display: 'panel.from-display' };

const byId = (id) => document.getElementById(`history-${id}`);

const timeOf = (seconds) => clockAt(Math.round(seconds * 1000) - log.begin);

// The rows stay and change their texts, so that a text which a user marks stays marked while the history is refreshed.
function showRows(messages) {
  const { rows } = byId('said');
  while (rows.length > messages.length) rows[rows.length - 1].remove();
  while (rows.length < messages.length) byId('said').append(rowOf([[''], [''], ['']]));
  messages.forEach(({ time, from, command, words }, i) => {
    [timeOf(time), word(SENDERS[from], from), `${command}  ${words}`].forEach((text, cell) => setText(rows[i].cells[cell], text));
    rows[i].toggleAttribute('aria-current', false);
  });
  rows[messages.length - 1]?.setAttribute('aria-current', 'true');
}

// Fewer messages than there is room for: the trace has no older ones.
function noteFor({ begins, rows }) {
  if (begins === null) return word('panel.history-no-trace', 'No frames of the bus are kept');
  return rows.length < MOST_ROWS ? `${word('panel.history-trace-begins', 'The bus\u2019s trace begins at')} ${timeOf(begins).slice(0, 8)}` : '';
}

function show(messages, note) {
  showRows(messages);
  byId('said-note').hidden = !note;
  setText(byId('said-note'), note);
}

async function fetchMessages(time) {
  const response = await fetch(`/api/bus/trace?${new URLSearchParams({ kind: 'both', most: MOST_ROWS, until: log.begin + time })}`);
  const answer = await response.json();
  if (!response.ok) throw new Error(answer.error);
  return answer;
}

let wanted = -1;
let isAsking = false;

// One request at a time: while the cursor is dragged or plays, the times between two answers are left out.
export async function showMessages(time) {
  wanted = time;
  if (isAsking) return;
  isAsking = true;
  for (let asked = -1; asked !== wanted;) {
    asked = wanted;
    try {
      const answer = await fetchMessages(asked);
      show(answer.rows, noteFor(answer));
    } catch (error) {
      show([], `${word('panel.history-problem', 'The history does not come')}: ${error.message ?? ''}`);
    }
    byId('said').dataset.time = String(asked);
  }
  isAsking = false;
}
