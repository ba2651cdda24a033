// The crane at the cursor, as far as the log says how it stands. The log has no height of the hook, no length of a jib, no
// wind and no values of the limits.

const FOOT_HEIGHT = 2.4; // of the drawn carrier
const STEEPEST = 84; // degrees; beyond, the radius says too little of the boom's length
const LIMITS = ['angle', 'radius', 'extension', 'swing'];

// Of the last message before the cursor, in metres and kilograms.
function numbersOf(values) {
  const isImperial = log.units !== 1;
  const known = (name, factor = 1) => (values && !Number.isNaN(values[name]) ? values[name] / factor : null);
  const [length, mass] = isImperial ? [FEET, POUNDS] : [1, 1];
  return {
    angle: known('angle'), swing: known('swing'), percent: known('percent'), radius: known('radius', length),
    extension: known('extension', length), load: known('load', mass), capacity: known('capacity', mass),
  };
}

// From the centre of rotation to the point over the load. With the hook on a jib, that point is not the boom's end.
function boomLength({ angle, radius }, rigging) {
  if (angle === null || radius === null || Math.abs(angle) > STEEPEST || rigging.includes('pick-fly')) return null;
  return radius / Math.cos((angle * Math.PI) / 180);
}

const BASES = { tires: 'tires', 'outrigger-retracted': 'retracted', 'outrigger-half': 'half', 'outrigger-extended': 'extended' };

function stateOf(values, rigging, lamps) {
  const numbers = numbersOf(values);
  const length = boomLength(numbers, rigging);
  const head = length === null ? null : FOOT_HEIGHT + length * Math.sin((numbers.angle * Math.PI) / 180);
  const none = { least: null, most: null };
  return {
    crane: { ...numbers, length, head, hook: lamps.twoBlock ? head : null, net_load: numbers.load },
    measures: { foot_height: FOOT_HEIGHT, foot_behind: 0, jib: 0, jib_offset: 0, shortest: length === null ? 0 : Math.max(0, length - (numbers.extension ?? 0)) },
    configuration: { base: rigging.map((name) => BASES[name]).find(Boolean) ?? null, counterweight: rigging.includes('counterweight'), jib: rigging.includes('stowed') ? 'stowed' : null },
    limits: { radius: { ...none, most: lamps.tripped.includes('radius') ? numbers.radius : null }, angle: none, extension: none, swing: none },
    curve: [],
  };
}

const percentText = (percent) => (percent === null ? '--' : `${percent.toFixed(1)} %`);

function sayCrane({ crane }, rigging, lamps) {
  const tripped = lamps.tripped.map((name) => `${name} limit passed`);
  const parts = rigging.map((name) => name.replace('-alarm-set', ' limit set').replaceAll('-', ' '));
  return [
    `angle ${angleText(crane.angle)}`, `radius ${lengthText(crane.radius)}`, `extension ${lengthText(crane.extension)}`, `swing ${angleText(crane.swing)}`,
    `load ${massText(crane.load)} of ${capacityText(crane.capacity)}, ${percentText(crane.percent)}`, ...(lamps.twoBlock ? ['two-block'] : []), ...tripped, ...parts,
  ].join('; ');
}

const views = makeCraneViews({ mass: capacityText, length: lengthText });
for (const element of views.elements) element.setAttribute('aria-hidden', 'true'); // the sentence below says the same
document.querySelector('#view .views').append(...views.elements);

async function showCrane() {
  const time = shown.cursor;
  const values = await valuesAt(time);
  if (time !== shown.cursor) return;
  document.documentElement.dataset.units = log.units === 1 ? 'meters' : 'feet';
  const rigging = (labelOf(log.bands.rigging, time) ?? '').split(' ').filter(Boolean);
  const lamps = { twoBlock: Boolean(labelAt('two-block', time)), tripped: LIMITS.filter((name) => labelAt(`${name} limit`, time)) };
  const state = stateOf(values, rigging, lamps);
  views.show(state);
  setText(document.getElementById('crane-words'), sayCrane(state, rigging, lamps));
  document.getElementById('view').dataset.time = time; // the moment that is drawn
}

document.getElementById('view').hidden = false;
document.addEventListener('cursor', showCrane);
if (document.documentElement.dataset.ready) showCrane(); // the cursor was there before this script
