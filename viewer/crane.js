// The crane to scale, from the side and from above, and its load chart. What is drawn follows from the state alone, so that
// whatever knows the state can show it. Lengths are in metres, masses in kilograms, angles in degrees. What is null is not
// known, and is not drawn.

const SVG = 'http://www.w3.org/2000/svg';
const BEHIND = 8; // what the side view shows behind the centre of rotation
const EXTENTS = [8, 11, 16, 22, 30, 40, 54]; // how far a view reaches: the first that holds what it shows
const LEAST_SIDE = 14; // boom and jib with room for the carrier
const SECTIONS = [1.0, 0.82, 0.66, 0.5]; // heights of the boom's sections
const OVERLAP = 0.6; // what a section keeps within the one before
const SUPPORTS = { tires: 0, retracted: 1.6, half: 2.6, extended: 3.6 }; // how far the outriggers reach to each side
const CHART = { width: 200, height: 120, left: 8, bottom: 18, top: 16 };
const PRE_ALARM = 90;
const OVERLOAD = 100;

const radians = (degrees) => (degrees * Math.PI) / 180;
const rounded = (value) => Math.round(value * 100) / 100;

// Sets what differs: an attribute that is set anew costs a painting, even where it stays as it was.
function set(element, attributes) {
  for (const [name, value] of Object.entries(attributes)) {
    const text = typeof value === 'number' ? String(rounded(value)) : value;
    if (text === null) element.removeAttribute(name);
    else if (element.getAttribute(name) !== text) element.setAttribute(name, text);
  }
  return element;
}

function make(parent, name, attributes = {}) {
  const element = set(document.createElementNS(SVG, name), attributes);
  parent.append(element);
  return element;
}

function makeView(name) {
  const svg = document.createElementNS(SVG, 'svg');
  return set(svg, { class: `crane-${name}`, role: 'group' });
}

// A part that is not shown keeps its attributes.
const isShown = (element, shown) => set(element, { display: shown ? null : 'none' });

function levelOf(percent) {
  if (percent === null || percent < PRE_ALARM) return 'normal';
  return percent < OVERLOAD ? 'near' : 'over';
}

function line(element, x1, y1, x2, y2) {
  return set(element, { x1, y1, x2, y2 });
}

// Where the boom ends, without a jib: forward of the centre of rotation, and above the ground.
function boomHead({ crane, measures }) {
  const angle = radians(crane.angle ?? 0);
  return { x: crane.length * Math.cos(angle) - measures.foot_behind, y: crane.length * Math.sin(angle) + measures.foot_height };
}

const extentFor = (reach) => EXTENTS.find((extent) => reach < extent) ?? EXTENTS.at(-1);

// A lattice of triangles, `length` long.
function latticePath(length) {
  const bays = Math.max(2, Math.round(length / 1.2));
  const points = Array.from({ length: bays + 1 }, (_, i) => `${rounded((length * i) / bays)} ${i % 2 ? 0.35 : -0.35}`);
  return `M0 -0.35L${rounded(length)} -0.15M0 0.35L${rounded(length)} 0.15M${points.join('L')}`;
}

// --- From the side

function makeCarrier(svg) {
  const carrier = make(svg, 'g', { class: 'carrier' });
  make(carrier, 'rect', { x: -6.2, y: -1.7, width: 11.6, height: 0.8, rx: 0.15 });
  make(carrier, 'path', { d: 'M5.4 -0.9V-2.6H4.2L3.6 -1.6V-0.9Z' });
  for (const x of [-5, -3.4, 2.6, 4.4]) make(carrier, 'circle', { cx: x, cy: -0.6, r: 0.6, class: 'wheel' });
  make(carrier, 'path', { d: 'M-3.6 -1.7H1.2V-2.3H0.4V-3.3H-0.6L-1.6 -2.3H-3.6Z', class: 'house' });
  return {
    legs: [-4.4, 3.6].map((x) => make(carrier, 'rect', { x: x - 0.12, y: -1.4, width: 0.24, height: 1.4, class: 'leg' })),
    counterweight: make(carrier, 'rect', { x: -4.3, y: -2.9, width: 1.1, height: 1.2, class: 'counterweight' }),
  };
}

function makeSide() {
  const svg = makeView('side');
  const ground = make(svg, 'rect', { class: 'ground' });
  const carrier = makeCarrier(svg);
  const limits = make(svg, 'g', { class: 'limits' });
  const boom = make(svg, 'g', { class: 'boom' });
  const sections = SECTIONS.toReversed().map((height) => make(boom, 'rect', { y: -height / 2, height, rx: 0.1 })).toReversed();
  return {
    svg,
    ground,
    ...carrier,
    boom,
    sections,
    stowed: make(boom, 'path', { d: latticePath(8), transform: 'translate(1.5 0.95)', class: 'jib' }),
    jib: make(boom, 'path', { class: 'jib' }),
    extension: make(boom, 'line', { class: 'limit' }),
    radius: make(limits, 'line', { class: 'limit' }),
    angles: ['least', 'most'].map(() => make(limits, 'line', { class: 'limit' })),
    plumb: make(svg, 'line', { class: 'plumb' }),
    column: make(svg, 'rect', { class: 'column' }),
    rope: make(svg, 'line', { class: 'rope' }),
    sling: make(svg, 'path', { class: 'rope' }),
    load: make(svg, 'rect', { class: 'load', rx: 0.1 }),
    hook: make(svg, 'path', { class: 'hook' }),
    tip: make(svg, 'circle', { class: 'handle' }),
    grip: make(svg, 'circle', { class: 'handle' }),
  };
}

function showBoom(view, { crane, configuration, measures }) {
  const { shortest } = measures;
  const isKnown = crane.length !== null && crane.angle !== null;
  isShown(view.boom, isKnown);
  if (!isKnown) return;
  const step = Math.max(0, crane.length - shortest) / (SECTIONS.length - 1);
  set(view.boom, { transform: `translate(${-measures.foot_behind} ${-measures.foot_height}) rotate(${rounded(-(crane.angle ?? 0))})` });
  view.sections.forEach((section, i) => {
    const begin = i === 0 ? 0 : shortest + (i - 1) * step - OVERLAP;
    set(section, { x: begin, width: shortest + i * step - begin });
  });
  isShown(view.stowed, configuration.jib === 'stowed');
  isShown(view.jib, measures.jib > 0);
  if (measures.jib > 0) {
    set(view.jib, { d: latticePath(measures.jib), transform: `translate(${rounded(crane.length)} 0) rotate(${measures.jib_offset})` });
  }
}

// Where the height of the hook is not known, the load may hang anywhere on the plumb line.
function showPlumb(view, { radius, hook, head, net_load: mass }, extent) {
  const isUnknown = radius !== null && hook === null;
  const [top, side] = [head ?? extent, 0.16 * Math.cbrt(Math.max(mass ?? 0, 0))];
  isShown(view.plumb, isUnknown);
  isShown(view.column, isUnknown && mass > 0);
  if (!isUnknown) return;
  line(view.plumb, radius, -top, radius, 0);
  set(view.column, { x: radius - side / 2, y: -top, width: side, height: top });
}

function showHook(view, { crane }, extent) {
  const { radius, hook, head, net_load: mass } = crane;
  const side = 0.16 * Math.cbrt(Math.max(mass, 0));
  const isKnown = radius !== null && hook !== null;
  showPlumb(view, crane, extent);
  for (const part of [view.rope, view.hook, view.grip]) isShown(part, isKnown);
  for (const part of [view.sling, view.load]) isShown(part, isKnown && mass > 0);
  if (!isKnown) return;
  line(view.rope, radius, -head, radius, -hook);
  set(view.hook, { d: 'M-0.3 -0.3H0.3V0.1A0.3 0.3 0 1 1 -0.25 0.35', transform: `translate(${rounded(radius)} ${rounded(-hook)})` });
  set(view.sling, { d: `M${rounded(radius - side / 2)} ${rounded(1 - hook)}L${rounded(radius)} ${rounded(0.3 - hook)}L${rounded(radius + side / 2)} ${rounded(1 - hook)}` });
  set(view.load, { x: radius - side / 2, y: 1 - hook, width: side, height: side * 0.8 });
  set(view.grip, { cx: radius, cy: -hook, r: extent / 13 });
}

function showLimits(view, { limits, measures }, extent) {
  const { radius, angle, extension } = limits;
  isShown(view.radius, radius.most !== null);
  if (radius.most !== null) line(view.radius, radius.most, 0, radius.most, -extent);
  ['least', 'most'].forEach((side, i) => {
    isShown(view.angles[i], angle[side] !== null);
    if (angle[side] === null) return;
    const [x, y] = [-measures.foot_behind, -measures.foot_height];
    line(view.angles[i], x, y, x + extent * Math.cos(radians(angle[side])), y - extent * Math.sin(radians(angle[side])));
  });
  isShown(view.extension, extension.most !== null);
  if (extension.most !== null) line(view.extension, measures.shortest + extension.most, -1.2, measures.shortest + extension.most, 1.2);
}

function showSide(view, state) {
  const extent = extentFor(Math.max(LEAST_SIDE, state.crane.radius ?? 0, (state.crane.length ?? 0) + state.measures.jib));
  const head = boomHead(state);
  set(view.svg, { viewBox: `${-BEHIND} ${-extent - 1} ${extent + BEHIND} ${extent + 2.5}` });
  set(view.ground, { x: -BEHIND, y: 0, width: extent + BEHIND, height: 1.5 });
  for (const leg of view.legs) isShown(leg, SUPPORTS[state.configuration.base] > 0);
  isShown(view.counterweight, state.configuration.counterweight);
  showBoom(view, state);
  showHook(view, state, extent);
  showLimits(view, state, extent);
  set(view.tip, { cx: head.x, cy: -head.y, r: extent / 13 });
}

// --- From above; the carrier's front is up

function makeTop() {
  const svg = makeView('top');
  const rings = make(svg, 'g', { class: 'rings' });
  const carrier = make(svg, 'g', { class: 'carrier' });
  const beams = [-3.6, 4.4].map((y) => make(carrier, 'rect', { y: y - 0.2, height: 0.4, class: 'leg' }));
  make(carrier, 'rect', { x: -1.3, y: -5.4, width: 2.6, height: 11.6, rx: 0.3 });
  const turned = make(svg, 'g');
  make(turned, 'rect', { x: -1.2, y: -1, width: 2.4, height: 4.2, rx: 0.3, class: 'house' });
  return {
    svg,
    rings: [10, 20, 30, 40, 50].map((r) => make(rings, 'circle', { r, class: 'ring' })),
    radius: make(svg, 'circle', { class: 'limit', fill: 'none' }),
    swings: ['least', 'most'].map(() => make(svg, 'line', { class: 'limit' })),
    beams,
    turned,
    boom: make(turned, 'rect', { x: -0.45, width: 0.9, rx: 0.2, class: 'boom' }),
    load: make(turned, 'circle', { cx: 0, class: 'load' }),
    tip: make(turned, 'circle', { cx: 0, class: 'handle' }),
  };
}

function showTop(view, state) {
  const { crane, limits, measures, configuration } = state;
  const reach = crane.radius ?? boomHead(state).x;
  const extent = extentFor(reach + 1);
  const support = SUPPORTS[configuration.base] ?? 0;
  set(view.svg, { viewBox: `${-extent} ${-extent} ${2 * extent} ${2 * extent}` });
  for (const beam of view.beams) set(isShown(beam, support > 0), { x: -support, width: 2 * support });
  set(view.turned, { transform: `rotate(${rounded(crane.swing ?? 0)})` });
  for (const part of [view.boom, view.load]) isShown(part, crane.swing !== null && reach > 0);
  set(view.boom, { y: -reach, height: Math.max(0, reach + measures.foot_behind) });
  set(view.load, { cy: -reach, r: Math.max(extent / 40, 0.08 * Math.cbrt(Math.max(crane.net_load ?? 0, 0))) });
  set(view.tip, { cy: -reach, r: extent / 5 });
  isShown(view.radius, limits.radius.most !== null);
  if (limits.radius.most !== null) set(view.radius, { r: limits.radius.most });
  ['least', 'most'].forEach((side, i) => {
    const swing = limits.swing[side];
    isShown(view.swings[i], swing !== null);
    if (swing !== null) line(view.swings[i], 0, 0, extent * Math.sin(radians(swing)), -extent * Math.cos(radians(swing)));
  });
}

// --- The load chart: what may hang at which radius

function makeChart() {
  const svg = set(makeView('chart'), { viewBox: `0 0 ${CHART.width} ${CHART.height}` });
  make(svg, 'path', { class: 'axis', d: `M${CHART.left} ${CHART.top}V${CHART.height - CHART.bottom}H${CHART.width}` });
  return {
    svg,
    area: make(svg, 'path', { class: 'area' }),
    curve: make(svg, 'path', { class: 'curve' }),
    rated: make(svg, 'path', { class: 'rated' }),
    drop: make(svg, 'path', { class: 'drop' }),
    point: make(svg, 'circle', { class: 'point', r: 4.5 }),
    most: make(svg, 'text', { x: CHART.left, y: 11 }),
    far: make(svg, 'text', { x: CHART.width - 2, y: CHART.height - 4, 'text-anchor': 'end' }),
  };
}

function showChart(view, { crane, curve }, words) {
  const far = Math.max(curve.at(-1)?.[0] ?? 10, crane.radius ?? 0) * 1.05;
  const rated = Math.max(0, crane.capacity ?? 0, ...curve.map(([, capacity]) => capacity));
  const most = Math.max(1000, rated, crane.load ?? 0) * 1.08;
  const base = CHART.height - CHART.bottom;
  const x = (radius) => CHART.left + (radius / far) * (CHART.width - CHART.left - 2);
  const y = (mass) => base - (mass / most) * (base - CHART.top);
  const points = curve.map(([radius, capacity]) => `${rounded(x(radius))} ${rounded(y(capacity))}`).join('L');
  set(view.curve, { d: points ? `M${points}` : '' });
  set(view.area, { d: points ? `M${rounded(x(curve[0][0]))} ${base}L${points}L${rounded(x(curve.at(-1)[0]))} ${base}Z` : '' });
  const hasRated = !curve.length && crane.radius !== null && crane.capacity !== null;
  isShown(view.rated, hasRated);
  if (hasRated) set(view.rated, { d: `M${rounded(x(crane.radius) - 12)} ${rounded(y(crane.capacity))}h24` });
  const isKnown = crane.radius !== null && crane.load !== null;
  isShown(view.point, isKnown);
  isShown(view.drop, isKnown);
  if (isKnown) {
    set(view.point, { cx: x(crane.radius), cy: y(crane.load), 'data-level': levelOf(crane.percent) });
    set(view.drop, { d: `M${rounded(x(crane.radius))} ${base}V${rounded(y(crane.load))}H${CHART.left}` });
  }
  view.most.textContent = words.mass(rated || null);
  view.far.textContent = words.length(far / 1.05);
}

// --- Driving it

function placeOf(svg, event) {
  const place = new DOMPoint(event.clientX, event.clientY).matrixTransform(svg.getScreenCTM().inverse());
  return { x: place.x, y: -place.y };
}

// Calls `to` with the place in metres while the handle is dragged, and `by` with 1 or -1 for the arrow keys.
function drag(handle, svg, to, by) {
  set(handle, { tabindex: 0, role: 'slider' });
  handle.addEventListener('pointerdown', (event) => {
    handle.setPointerCapture(event.pointerId);
    event.preventDefault();
  });
  handle.addEventListener('pointermove', (event) => handle.hasPointerCapture(event.pointerId) && to(placeOf(svg, event)));
  handle.addEventListener('keydown', (event) => {
    const [right, up] = { ArrowRight: [1, 0], ArrowLeft: [-1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key] ?? [0, 0];
    if (!right && !up) return;
    event.preventDefault();
    by(right, up);
  });
}

const ANGLE_STEP = 1;
const LENGTH_STEP = 0.5;
const SWING_STEP = 2;
const HOIST_STEP = 0.5;

// The views, in the order in which they stand. `drive` gets what the user wants of the crane, such as {angle, length}; without
// it the views only show. `words` has the texts: mass(kg), length(m), and the handles' names.
export function makeCraneViews(words, drive = null) {
  const [side, top, chart] = [makeSide(), makeTop(), makeChart()];
  let state = null;
  const show = (now) => {
    state = now;
    showSide(side, state);
    showTop(top, state);
    showChart(chart, state, words);
    if (!drive) return;
    const { angle, length, swing, hook } = state.crane;
    set(side.tip, { 'aria-label': words.tip(), 'aria-valuenow': rounded(angle ?? 0), 'aria-valuetext': `${rounded(angle ?? 0)}°, ${words.length(length)}` });
    set(side.grip, { 'aria-label': words.hook(), 'aria-valuenow': rounded(hook), 'aria-valuetext': words.length(hook) });
    set(top.tip, { 'aria-label': words.swing(), 'aria-valuenow': rounded(swing ?? 0), 'aria-valuetext': `${rounded(swing ?? 0)}°` });
  };
  if (drive) {
    const foot = () => ({ x: -state.measures.foot_behind, y: state.measures.foot_height });
    drag(side.tip, side.svg, ({ x, y }) => {
      const [forward, up] = [x - foot().x, y - foot().y];
      drive({ angle: (Math.atan2(up, forward) * 180) / Math.PI, length: Math.hypot(forward, up) });
    }, (right, up) => drive(up ? { angle: state.crane.angle + up * ANGLE_STEP } : { length: state.crane.length + right * LENGTH_STEP }));
    drag(side.grip, side.svg, ({ y }) => drive({ hoist: Math.max(0, y) }), (_, up) => up && drive({ hoist: Math.max(0, state.crane.hook + up * HOIST_STEP) }));
    drag(top.tip, top.svg, ({ x, y }) => drive({ swing: (Math.atan2(x, y) * 180) / Math.PI }), (right) => right && drive({ swing: state.crane.swing + right * SWING_STEP }));
  } else {
    for (const handle of [side.tip, side.grip, top.tip]) handle.remove();
  }
  return { elements: [side.svg, top.svg, chart.svg], show };
}
