'use strict';
// The messages in words, and what the application printed, of the minute of the cursor and its neighbours.

const MINUTE_MS = 60000;

const messageChunks = new Map();
async function messagesOf(minute) {
  if (messageChunks.has(minute)) return messageChunks.get(minute);
  const begin = minute * MINUTE_MS;
  const list = [];
  const number = lastUpTo(log.messages, begin);
  if (log.messages[number] === begin) {
    const { texts, messages } = await chunkOf(`m${number}`);
    for (let i = 0; i < messages.length; i += 4) {
      list.push({ time: messages[i], from: texts[messages[i + 1]], command: texts[messages[i + 2]], words: texts[messages[i + 3]] });
    }
  }
  const screen = lastUpTo(log.screens, begin);
  if (log.screens[screen] === begin) {
    const { lines } = await chunkOf(`s${screen}`);
    for (const [time, words] of lines) list.push({ time, from: 'orvik', command: 'prints', words });
  }
  list.sort((a, b) => a.time - b.time);
  if (messageChunks.size > 50) messageChunks.clear();
  messageChunks.set(minute, list);
  return list;
}

function rowFor(message) {
  const row = make('tr');
  row.append(make('td', clockAt(message.time)), make('td', message.from), make('td', message.words));
  row.title = message.command;
  row.addEventListener('click', () => moveCursor(message.time));
  return row;
}

let listed = []; // the messages of the rows
let listedMinute = -1;

async function listMinute(minute) {
  const minutes = await Promise.all([minute - 1, minute, minute + 1].map(messagesOf));
  listed = minutes.flat();
  listedMinute = minute;
  byId('rows').replaceChildren(...listed.map(rowFor));
}

// Marks the last message up to the cursor, and brings it into view.
function markMessage(time) {
  const here = lastUpTo(null, time, listed.length, (i) => listed[i].time);
  const { rows: elements } = byId('rows');
  for (let i = 0; i < elements.length; ++i) {
    const name = i === here ? 'here' : i > here ? 'later' : '';
    if (elements[i].className !== name) elements[i].className = name;
  }
  const row = elements[Math.max(0, here)];
  if (!row) return;
  const list = byId('list');
  list.scrollTop = row.offsetTop - list.clientHeight / 2;
}

let isListing = false;
async function showMessages() {
  if (isListing) return;
  isListing = true;
  for (let time = -1; time !== shown.cursor;) {
    time = shown.cursor;
    const minute = Math.floor(time / MINUTE_MS);
    if (minute !== listedMinute) await listMinute(minute);
    markMessage(time);
  }
  isListing = false;
}

// --- Finding: from the cursor through the minutes, until a message has the words.

async function findMessage(step) {
  const wanted = byId('find').value.trim().toLowerCase();
  if (!wanted) return;
  const begin = shown.cursor;
  const matches = ({ time, from, words }) => (step > 0 ? time > begin : time < begin) && `${from} ${words}`.toLowerCase().includes(wanted);
  setText(byId('found'), 'Searching');
  for (let minute = Math.floor(begin / MINUTE_MS); minute >= 0 && minute * MINUTE_MS <= log.end; minute += step) {
    const found = (await messagesOf(minute)).filter(matches);
    if (!found.length) continue;
    setText(byId('found'), '');
    return moveCursor((step > 0 ? found[0] : found[found.length - 1]).time);
  }
  setText(byId('found'), step > 0 ? 'None after the cursor' : 'None before the cursor');
}

byId('find-next').addEventListener('click', () => findMessage(1));
byId('find-back').addEventListener('click', () => findMessage(-1));
byId('find').addEventListener('keydown', (event) => {
  if (event.key === 'Enter') findMessage(event.shiftKey ? -1 : 1);
});
