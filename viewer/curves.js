'use strict';
// The curves: loads and percentage above, geometry below. The data come in levels of detail (curve_tiles.h).

const COLORS = { load: '#39a0ff', capacity: '#2fb457', percent: '#ffb000', radius: '#39a0ff', angle: '#ffb000', extension: '#c58bff' };
const PRINT_COLORS = { load: '#0057b8', capacity: '#1b7a36', percent: '#b36b00', radius: '#0057b8', angle: '#b36b00', extension: '#7a3fc4' };
const MOST_ROWS = 3000; // of a level within what is shown; a wide screen has 3,000 pixels
const GAP_MS = 10000; // without values for so long the display shows none
const AXIS = 64; // pixels on either side of the plots and bands

const unitsOf = (name) => ({ load: log.weight, capacity: log.weight, percent: '%', radius: log.length, extension: log.length, angle: '°', swing: '°' })[name];

// --- Levels

function unfold(differences, scale) {
  let sum = 0;
  return Float64Array.from(differences, (step) => (step === null ? NaN : (sum += step) / scale));
}

const rowsOf = new Map(); // a chunk's name to its rows
async function rowsOfChunk(name) {
  if (log.rows) return log.rows; // of a log that grows
  if (rowsOf.has(name)) return rowsOf.get(name);
  const chunk = await chunkOf(name);
  const lists = (side) => side.map((list, i) => unfold(list, log.kinds[i].scale));
  const lo = lists(chunk.lo);
  const rows = { t: unfold(chunk.t, 1), lo, hi: chunk.hi ? lists(chunk.hi) : lo };
  if (rowsOf.size > 300) rowsOf.clear();
  rowsOf.set(name, rows);
  return rows;
}

const chunksWithin = (level, from, to) => {
  const times = log.curves[level].chunks;
  return [Math.max(0, lastUpTo(times, from)), Math.max(0, lastUpTo(times, to))];
};

// The finest level that has few enough rows there. Level 0 has no width: its chunks have 1,024 rows.
function levelFor(from, to) {
  const [first, last] = chunksWithin(0, from, to);
  if (last - first <= 2) return 0;
  const level = log.curves.findIndex(({ width }) => width > 0 && (to - from) / width <= MOST_ROWS);
  return level < 0 ? log.curves.length - 1 : level;
}

async function rowsWithin(level, from, to) {
  if (!log.curves[level].chunks.length) return [];
  const [first, last] = chunksWithin(level, from, to);
  const names = Array.from({ length: last - first + 1 }, (_, i) => `c${level}-${first + i}`);
  return Promise.all(names.map(rowsOfChunk));
}

// --- Thinning: of each column of pixels the least and the greatest value, in the order of time.

class Thinner {
  constructor(from, to, columns) {
    this.from = from;
    this.width = (to - from) / columns;
    this.points = [];
    this.column = null;
    this.last = null;
  }

  add(time, lo, hi, width) {
    if (this.last !== null && time - this.last > Math.max(GAP_MS, 2 * width)) {
      this.flush();
      this.points.push({ x: (time + this.last) / 2, y: NaN });
    }
    this.last = time;
    const number = Math.floor((time - this.from) / this.width);
    if (this.column?.number !== number) {
      this.flush();
      this.column = { number, lo: Infinity, hi: -Infinity, loAt: time, hiAt: time };
    }
    if (lo < this.column.lo) { this.column.lo = lo; this.column.loAt = time; }
    if (hi > this.column.hi) { this.column.hi = hi; this.column.hiAt = time + (width ? 1 : 0); }
  }

  flush() {
    const { column } = this;
    this.column = null;
    if (!column) return;
    if (column.lo > column.hi) { // no value was known
      this.points.push({ x: column.loAt, y: NaN });
      return;
    }
    const ends = [{ x: column.loAt, y: column.lo }];
    if (column.hi !== column.lo) ends.push({ x: column.hiAt, y: column.hi });
    if (column.hiAt < column.loAt) ends.reverse();
    this.points.push(...ends);
  }
}

function thin(chunks, kind, from, to, columns, width) {
  const thinner = new Thinner(from, to, columns);
  for (const { t, lo, hi } of chunks) {
    // One row more on either side, so that the curve reaches the border.
    const first = Math.max(0, lastUpTo(t, from));
    const last = Math.min(t.length - 1, lastUpTo(t, to) + 1);
    for (let i = first; i <= last; ++i) thinner.add(t[i], lo[kind][i], hi[kind][i], width);
  }
  thinner.flush();
  return thinner.points;
}

// --- Plots

const plots = [];
const kindOf = (name) => log.kinds.findIndex((kind) => kind.name === name);

function stepFor(span, least) {
  const STEPS = [0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1200, 1800, 3600, 7200, 14400, 43200, 86400].map((s) => s * 1000);
  return STEPS.find((step) => step >= span / least) ?? STEPS[STEPS.length - 1];
}

// Ticks at whole times of day.
function timeTicks(from, to, most) {
  const step = stepFor(to - from, most);
  const shift = (log.begin + log.zone * 60000) % step;
  const ticks = [];
  for (let time = Math.ceil((from + shift) / step) * step - shift; time <= to; time += step) ticks.push({ value: time });
  return ticks;
}
const tickText = (time) => (shown.to - shown.from < 30000 ? clockAt(time).slice(0, 10) : shown.to - shown.from < 7200000 ? clockAt(time).slice(0, 8) : clockAt(time).slice(0, 5));

function axisOf(position, title, look, extra) {
  return { position, title: { display: false, text: title }, border: { display: false }, ticks: { color: look.quiet, maxTicksLimit: 6, font: { size: 11 } },
    grid: { color: look.grid, drawOnChartArea: position === 'left', drawTicks: false, drawBorder: false }, afterFit: (axis) => { axis.width = axisWidth(); }, ...extra };
}
const axisWidth = () => (document.documentElement.clientWidth < 600 ? 46 : AXIS);

function makePlot(id, names, right, look) {
  const scales = {
    x: { type: 'linear', min: shown.from, max: shown.to, afterBuildTicks: (axis) => { axis.ticks = timeTicks(axis.min, axis.max, Math.max(2, axis.width / 90)); },
      ticks: { color: look.quiet, callback: tickText, maxRotation: 0, autoSkip: false, font: { size: 11 } }, grid: { color: look.grid, drawBorder: false } },
    left: axisOf('left', '', look, { beginAtZero: true, grace: '4%' }),
    right: axisOf('right', '', look, { beginAtZero: true, grace: '4%' }),
  };
  const datasets = names.map((name) => ({
    name, data: [], yAxisID: name === right ? 'right' : 'left', borderColor: look.colors[name], borderWidth: 1.5, pointRadius: 0, stepped: false,
  }));
  const chart = new Chart(byId(id), {
    type: 'line',
    data: { datasets },
    options: { animation: false, parsing: false, normalized: true, responsive: true, maintainAspectRatio: false, events: [], spanGaps: false,
      layout: { padding: 0 }, plugins: { legend: { display: false }, tooltip: { enabled: false } }, scales },
  });
  plots.push(chart);
}

function makeLegend(id, names, right, colors) {
  byId(id).replaceChildren(...names.map((name) => {
    const entry = make('span');
    const line = make('i');
    line.style.background = colors[name];
    entry.append(line, `${name}, ${unitsOf(name) || 'units not known'}${name === right ? ' (right)' : ''}`);
    return entry;
  }));
}

const PLOTS = [['loads', ['load', 'capacity', 'percent'], 'percent'], ['geometry', ['radius', 'extension', 'angle'], 'angle']];
const DARK = { quiet: '#8fa3b5', grid: '#1c252e', colors: COLORS };
const LIGHT = { quiet: '#333', grid: '#ddd', colors: PRINT_COLORS };
let look = DARK;

function makePlots(wanted) {
  look = wanted;
  plots.splice(0).forEach((plot) => plot.destroy());
  for (const [id, names, right] of PLOTS) {
    makePlot(`plot-${id}`, names, right, look);
    makeLegend(`legend-${id}`, names, right, look.colors);
  }
}

let drawing = 0; // counts, so that a slow answer does not overwrite a newer one

async function drawCurves() {
  const own = ++drawing;
  const { from, to } = shown;
  const level = levelFor(from, to);
  const chunks = await rowsWithin(level, from, to);
  if (own !== drawing) return;
  for (const plot of plots) {
    const columns = Math.max(50, plotArea().right - plotArea().left);
    for (const dataset of plot.data.datasets) {
      dataset.data = thin(chunks, kindOf(dataset.name), from, to, columns, log.curves[level].width);
    }
    plot.options.scales.x.min = from;
    plot.options.scales.x.max = to;
    plot.update('none');
  }
}

// Where the time axis begins and ends, in pixels of the plots' width.
function plotArea() {
  const width = byId('plots').clientWidth;
  return { left: axisWidth(), right: width - axisWidth() };
}
const pixelOf = (time) => plotArea().left + (time - shown.from) / (shown.to - shown.from) * (plotArea().right - plotArea().left);
const timeOfPixel = (x) => shown.from + (x - plotArea().left) / (plotArea().right - plotArea().left) * (shown.to - shown.from);

// --- The values at the cursor: those of the last message before it, not older than the display would show.

async function valuesAt(time) {
  const times = log.curves[0].chunks;
  const number = lastUpTo(times, time);
  if (number < 0) return null;
  const rows = await rowsOfChunk(`c0-${number}`);
  const row = lastUpTo(rows.t, time);
  if (row < 0 || time - rows.t[row] > GAP_MS) return null;
  return Object.fromEntries(log.kinds.map(({ name }, kind) => [name, rows.lo[kind][row]]));
}

const formatValue = (name, value) => (name === 'load' || name === 'capacity' ? Math.round(value).toLocaleString('en-US') : value.toFixed(1));

async function showValues(time) {
  const values = await valuesAt(time);
  if (time !== shown.cursor) return;
  byId('values').replaceChildren(...log.kinds.map(({ name }) => {
    const entry = make('div');
    const value = values?.[name];
    const text = value === undefined || Number.isNaN(value) ? '--' : `${formatValue(name, value)} ${unitsOf(name) ?? ''}`;
    entry.append(make('dt', name), make('dd', text));
    return entry;
  }));
}

// --- The whole log as a strip, with the part that is shown.

let strip = null;

// The area under each run of known values.
function fillRuns(context, points, xOf, yOf, ground) {
  for (let i = 0; i < points.length; ++i) {
    if (Number.isNaN(points[i].y)) continue;
    context.beginPath();
    context.moveTo(xOf(points[i].x), ground);
    for (; i < points.length && !Number.isNaN(points[i].y); ++i) context.lineTo(xOf(points[i].x), yOf(points[i].y));
    context.lineTo(xOf(points[i - 1].x) + 1, ground);
    context.fill();
  }
}

async function drawOverview() {
  const canvas = byId('overview');
  const [width, height] = fitCanvas(canvas);
  const level = levelFor(log.start, log.end);
  strip = log.rows ? [log.rows] : strip ?? await rowsWithin(level, log.start, log.end);
  const context = canvas.getContext('2d');
  context.clearRect(0, 0, width, height);
  const kind = kindOf('percent');
  const points = thin(strip, kind, log.start, log.end, width, log.curves[level].width);
  const xOf = (time) => (time - log.start) / (log.end - log.start) * width;
  const most = points.reduce((greatest, { y }) => Math.max(greatest, y || 0), 100);
  context.fillStyle = look.colors.percent;
  context.globalAlpha = 0.6;
  fillRuns(context, points, xOf, (y) => height - Math.max(0, y) / most * (height - 4), height);
  context.globalAlpha = 1;
  const left = xOf(shown.from);
  const part = Math.max(3, xOf(shown.to) - left);
  context.fillStyle = '#39a0ff2e';
  context.fillRect(left, 0, part, height);
  context.strokeStyle = '#39a0ff';
  context.strokeRect(left + 0.5, 0.5, part - 1, height - 1);
  context.fillStyle = '#e6edf3';
  context.fillRect(xOf(shown.cursor), 0, 1, height);
}

// Gives a canvas the pixels of its place; drawing is in CSS pixels.
function fitCanvas(canvas) {
  const width = canvas.clientWidth;
  const height = canvas.clientHeight;
  const ratio = devicePixelRatio || 1;
  if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
  }
  canvas.getContext('2d').setTransform(ratio, 0, 0, ratio, 0, 0);
  return [width, height];
}
