'use strict';
// The report: the figures, and its own parts at the cursor.

const SEEN_MS = 250; // the screen shows a message up to so much later

// --- Figures

function figure(number, title, state, times = [], more = '') {
  const element = make(times.length ? 'button' : 'div', undefined, 'figure');
  if (times.length) element.type = 'button';
  element.dataset.state = state;
  element.append(make('b', number), make('span', title));
  if (more) element.append(make('span', more));
  if (!times.length) return element;
  element.title = 'Go to the next one';
  element.addEventListener('click', () => moveCursor((times.find((time) => time > shown.cursor) ?? times[0]) + SEEN_MS));
  return element;
}

const counted = (count, word) => (count === 1 ? word : `${word}s`);

function showFigures() {
  const { overloads, twoBlocks, lostLinks, broken } = log.figures;
  const isWhole = log.filmEnd >= log.end; // the film, which knows the lost links
  byId('figures').replaceChildren(
    figure(lengthOf(log.end), 'length of the log', '', [], `${log.frames.toLocaleString('en-US')} frames`),
    figure(`${overloads.count}`, counted(overloads.count, 'overload'), overloads.count ? 'bad' : 'good', overloads.times,
      overloads.most === null ? '' : `greatest ${overloads.most.toFixed(1)} %`),
    figure(`${twoBlocks.count}`, counted(twoBlocks.count, 'two-block'), twoBlocks.count ? 'bad' : 'good', twoBlocks.times,
      twoBlocks.count ? `${lengthOf(twoBlocks.total)} in all` : ''),
    figure(`${lostLinks.count}`, counted(lostLinks.count, 'lost link'), lostLinks.count ? 'bad' : isWhole ? 'good' : '', lostLinks.times,
      [lostLinks.count ? `${lengthOf(lostLinks.total)} in all` : '', isWhole ? '' : `until ${clockAt(log.filmEnd).slice(0, 8)}`].filter(Boolean).join(', ')),
    figure(`${broken.count}`, counted(broken.count, 'broken message'), broken.count ? 'warn' : 'good', broken.times));
}

function showHead() {
  setText(byId('title'), log.title);
  setText(byId('about'), `${dayAt(0)} ${clockAt(0).slice(0, 8)} to ${dayAt(log.end) === dayAt(0) ? '' : `${dayAt(log.end)} `}${clockAt(log.end).slice(0, 8)}${log.title === log.logs ? '' : `, ${log.logs}`}`);
  byId('notes').replaceChildren(...log.notes.map((note) => make('li', note)));
  const zone = `UTC${log.zone < 0 ? '-' : '+'}${Math.abs(log.zone / 60)}`;
  setText(byId('foot'), `Times are ${zone}. Weights in ${log.weight ?? 'units not known'}, lengths in ${log.length ?? 'units not known'}, converted where the host changed its units. `
    + 'The screen is computed from the log by the display\'s own application. Messages are listed where they differ from the last of their kind, operating values once a second.');
}

// --- Printing: the same on white.

function usePrintLook(isPrinted) {
  document.documentElement.classList.toggle('printing', isPrinted);
  makePlots(isPrinted ? LIGHT : DARK);
  drawAll(); // the data are here already, so that all is drawn before this event ends
}
addEventListener('beforeprint', () => usePrintLook(true));
addEventListener('afterprint', () => usePrintLook(false));

// --- Start

onCursor((time) => {
  setText(byId('since'), `${dayAt(time)}, ${lengthOf(time)} after the beginning`);
  showMessages();
  document.dispatchEvent(new Event('cursor')); // for the drawing of the crane
});

async function start() {
  Object.assign(log, await chunkOf('index'));
  log.weight = ['lbs', 'kgs'][log.units];
  log.length = ['feet', 'meters'][log.units];
  log.end = Math.max(log.end, 1);
  plotsPlace.setAttribute('aria-valuemax', String(log.end));
  shown.to = log.end;
  showHead();
  showFigures();
  makePlots(DARK);
  makeBands();
  drawAll();
  setCursor((log.figures.overloads.times[0] ?? 0) + SEEN_MS);
  addEventListener('resize', () => showPart(shown.from, shown.to));
  document.documentElement.dataset.ready = 'true';
}

start().catch((error) => {
  byId('notes').append(make('li', `The report cannot be shown: ${error.message}. It needs a browser of 2023 or later.`));
});
