'use strict';
// The report's data stand in the page as packed chunks. One is unpacked when it is needed first.

const byId = (id) => document.getElementById(id);

// Texts of the log reach the page through textContent alone.
function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

function make(tag, text, className) {
  const element = document.createElement(tag);
  if (text !== undefined) element.textContent = text;
  if (className) element.className = className;
  return element;
}

const MOST_CHUNKS = 200; // unpacked at the same time; some 100 kB each
const unpacked = new Map();

async function unpack(name) {
  const packed = Uint8Array.from(atob(byId(name).textContent), (digit) => digit.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate'));
  return JSON.parse(await new Response(stream).text());
}

// A promise of the chunk. The one that was not asked for the longest is forgotten.
function chunkOf(name) {
  const chunk = unpacked.get(name) ?? unpack(name);
  unpacked.delete(name);
  unpacked.set(name, chunk);
  if (unpacked.size > MOST_CHUNKS) unpacked.delete(unpacked.keys().next().value);
  return chunk;
}

// The place of the last number that is not greater; -1: all are.
function lastUpTo(numbers, value, length = numbers.length, at = (i) => numbers[i]) {
  let low = 0;
  let high = length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (at(middle) <= value) low = middle + 1;
    else high = middle;
  }
  return low - 1;
}

// --- What the page shows of the log

const log = {}; // the index
const shown = { from: 0, to: 1, cursor: 0 }; // milliseconds since the log's beginning

// The log's own time of day, by the zone of the place where the report was made.
function dateAt(time) {
  return new Date(log.begin + time + log.zone * 60000).toISOString();
}
const clockAt = (time) => dateAt(time).slice(11, 23);
const dayAt = (time) => dateAt(time).slice(0, 10);

function lengthOf(ms) {
  const seconds = Math.round(ms / 100) / 10;
  if (seconds < 60) return `${seconds} s`;
  const minutes = Math.floor(seconds / 60);
  if (minutes < 60) return `${minutes} min ${Math.round(seconds % 60)} s`;
  return `${Math.floor(minutes / 60)} h ${minutes % 60} min`;
}
