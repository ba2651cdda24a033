'use strict';
// What the viewer's scripts share: the elements, the log, and which part of it is shown.
//
// The scripts of this folder are classic scripts and use each other's names, because a report has all of them in its one
// file, where modules cannot import each other. The page gives them chunkOf(name, time), a promise of a chunk of the data
// that reaches at least to the time; loads data.js, curves.js, bands.js, past_screen.js and cursor.js in this order; and
// fills `log` before it calls any of their functions.

// The page's elements have these ids, with the prefix that the script's element names: `data-ids`.
const idPrefix = document.currentScript.dataset.ids ?? '';
const byId = (id) => document.getElementById(idPrefix + id);

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

const log = { start: 0, end: 1, notes: [] }; // the index; `start` and `end` are the first and the last moment that is known
const shown = { from: 0, to: 1, cursor: 0 }; // milliseconds of the log's time
let playing = false;

// The log's own time of day, by the zone of the place where it was made.
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
