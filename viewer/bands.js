'use strict';
// The bands under the curves: what held from when to when.

// Rows in their order; those with `always` are there even where the log has nothing of them.
const ROWS = [
  ['page', 'page', '#2b5f8f', true], ['language', 'language', '#4b4f8f', true], ['link', 'link lost', '#ff5a5f', true],
  ['overload', 'overload', '#ff5a5f', true], ['prealarm', 'near limit', '#ffb000', true], ['two-block', 'two-block', '#ff5a5f', true],
  ['alarm', 'alarm', '#ffb000'], ['angle limit', 'angle limit', '#ffb000'], ['radius limit', 'radius limit', '#ffb000'],
  ['extension limit', 'ext. limit', '#ffb000'], ['swing limit', 'swing limit', '#ffb000'], ['beeper', 'beeper', '#ffb000', true],
  ...Array.from({ length: 8 }, (_, i) => [`front key ${i + 1}`, `key ${i + 1}`, '#c58bff']), ['key reported', 'key report', '#c58bff'],
];
const ROW = 19; // pixels

let rows = [];

function makeBands() {
  rows = ROWS.filter(([name, , , always]) => always || log.bands[name]?.spans.length)
    .map(([name, title, color]) => ({ name, title, color, labels: [], spans: [], ...log.bands[name] }));
  byId('bands').style.height = `${rows.length * ROW + 4}px`;
}

const spanCount = (row) => row.spans.length / 3;
const lastSpanUpTo = (row, time) => lastUpTo(null, time, spanCount(row), (i) => row.spans[3 * i]);

// What holds at a time; undefined: nothing.
function labelOf(row, time) {
  const span = row ? lastSpanUpTo(row, time) : -1;
  if (span < 0 || row.spans[3 * span] + row.spans[3 * span + 1] < time) return undefined;
  return row.labels[row.spans[3 * span + 2]];
}
const labelAt = (name, time) => labelOf(rows.find((candidate) => candidate.name === name), time);

function drawSpan(context, row, top, begin, end, label) {
  const { left, right } = plotArea();
  const x = Math.max(left, pixelOf(begin));
  const width = Math.max(1.5, Math.min(right, pixelOf(end)) - x);
  context.fillStyle = row.color;
  context.fillRect(x, top + 2, width, ROW - 4);
  if (row.labels.length < 2 && row.name !== 'page' && row.name !== 'language') return;
  if (width < 26) return;
  context.save();
  context.beginPath();
  context.rect(x, top, width - 3, ROW);
  context.clip();
  context.fillStyle = '#fff';
  context.fillText(label, x + 5, top + ROW / 2 + 0.5);
  context.restore();
}

// Spans that share a pixel are drawn once.
function drawRow(context, row, top) {
  const pixel = (shown.to - shown.from) / (plotArea().right - plotArea().left);
  let open = null;
  for (let i = Math.max(0, lastSpanUpTo(row, shown.from)); i < spanCount(row); ++i) {
    const begin = row.spans[3 * i];
    const end = begin + row.spans[3 * i + 1];
    const label = row.labels[row.spans[3 * i + 2]];
    if (begin > shown.to) break;
    if (end < shown.from) continue;
    if (open && begin - open.end < pixel && (open.label === label || end - open.begin < 2 * pixel)) {
      open.end = end;
      continue;
    }
    if (open) drawSpan(context, row, top, open.begin, open.end, open.label);
    open = { begin, end, label };
  }
  if (open) drawSpan(context, row, top, open.begin, open.end, open.label);
}

// After the film's end its rows are not known.
function drawUnknown(context, top) {
  const { right } = plotArea();
  const x = Math.max(plotArea().left, pixelOf(log.filmEnd));
  if (log.filmEnd >= log.end || x >= right) return;
  context.strokeStyle = look.quiet;
  context.setLineDash([2, 4]);
  context.beginPath();
  context.moveTo(x, top + ROW / 2);
  context.lineTo(right, top + ROW / 2);
  context.stroke();
  context.setLineDash([]);
}

function drawBands() {
  const canvas = byId('bands');
  const [width, height] = fitCanvas(canvas);
  const context = canvas.getContext('2d');
  context.clearRect(0, 0, width, height);
  context.font = '11px "B612", "DejaVu Sans", system-ui, sans-serif';
  context.textBaseline = 'middle';
  const { left, right } = plotArea();
  rows.forEach((row, i) => {
    const top = 2 + i * ROW;
    context.fillStyle = look.grid;
    context.fillRect(left, top + ROW - 1, right - left, 1);
    context.fillStyle = look.quiet;
    context.textAlign = 'right';
    context.fillText(row.title, left - 5, top + ROW / 2, left - 6);
    context.textAlign = 'left';
    drawRow(context, row, top);
    if (['page', 'link', 'beeper'].includes(row.name)) drawUnknown(context, top);
  });
}
