// The host tab: moves the simulated crane and sends actions to the host simulator.

const byId = (id) => document.getElementById(id);
const POLL_MS = 500;
const AXES = [
  { name: 'angle', label: 'Boom angle', unit: '°', step: 0.5, value: (state) => state.crane.angle },
  { name: 'length', label: 'Boom length', unit: 'm', step: 0.1, value: (state) => state.crane.length },
  { name: 'swing', label: 'Swing', unit: '°', step: 1, value: (state) => state.crane.swing },
  { name: 'load', label: 'Load', unit: 'kg', step: 100, value: (state) => state.crane.net_load },
  { name: 'hoist', label: 'Hook height', unit: 'm', step: 0.1, value: (state) => state.crane.hook },
];
// The buttons and the actions that they send.
const SWITCHES = [
  { label: 'Cut the link 15 s', act: () => 'silence 15' },
  { label: 'Restart the host', act: () => 'restart' },
  { label: 'Stop all movement', act: () => 'stop' },
];

// The simulator counts in metres and kilograms; what is shown has the units of the panel.
const IMPERIAL = { m: { unit: 'ft', factor: 3.28084 }, kg: { unit: 'lb', factor: 2.204623 } };

function inUnits(value, unit) {
  const other = document.documentElement.dataset.units === 'feet' ? IMPERIAL[unit] : undefined;
  if (value === null) return '--';
  return `${Math.round(value * (other?.factor ?? 1) * 10) / 10} ${other?.unit ?? unit}`;
}

let state = null;
const moving = new Set(); // sliders that the user is moving

async function ask(path, body) {
  const options = body === undefined ? {} : {
    method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body),
  };
  const response = await fetch(`/api/host/${path}`, options);
  const answer = await response.json().catch(() => ({}));
  if (!response.ok) throw new Error(answer.error ?? `the host answered with status ${response.status}`);
  return answer;
}

function say(problem) {
  byId('host-problem').textContent = problem;
  byId('host-problem').hidden = !problem;
}

function act(action) {
  return ask('do', { do: action }).then(() => say(''), (error) => say(error.message));
}

const sliders = new Map();

function makeAxis(axis) {
  const label = document.createElement('label');
  const slider = document.createElement('input');
  const shown = document.createElement('output');
  const name = document.createElement('span');
  name.textContent = axis.label;
  slider.type = 'range';
  slider.id = `axis-${axis.name}`;
  slider.step = axis.step;
  slider.disabled = true;
  slider.addEventListener('input', () => {
    moving.add(axis.name);
    shown.textContent = `→ ${inUnits(Number(slider.value), axis.unit)}`;
  });
  slider.addEventListener('change', () => {
    ask('controls', { [axis.name]: Number(slider.value) })
      .then(() => say(''), (error) => say(error.message))
      .finally(() => moving.delete(axis.name));
  });
  label.append(name, slider, shown);
  byId('axes').append(label);
  sliders.set(axis.name, { slider, shown });
}

function makeButton(label, action) {
  const button = document.createElement('button');
  button.type = 'button';
  button.textContent = label;
  button.addEventListener('click', () => act(action()));
  return button;
}

function showAxes() {
  for (const axis of AXES) {
    const { slider, shown } = sliders.get(axis.name);
    [slider.min, slider.max] = state.ranges[axis.name];
    slider.disabled = false;
    if (moving.has(axis.name)) continue;
    const value = axis.value(state);
    if (document.activeElement !== slider && value !== null) slider.value = value;
    shown.textContent = inUnits(value, axis.unit);
  }
}

function showScenarios() {
  const select = byId('scenario');
  if (select.options.length !== state.scenarios.length) {
    select.replaceChildren(...state.scenarios.map((name) => new Option(name, name)));
  }
  if (document.activeElement !== select) select.value = state.scenario;
}

function showFaults() {
  const group = byId('host-switches');
  if (!group.children.length) {
    const faults = state.faults.available.map((name) => ({
      label: `Fault: ${name}`, fault: name,
      act: () => `fault ${name} ${state.faults.present.includes(name) ? 'off' : 'on'}`,
    }));
    for (const entry of [...SWITCHES, ...faults]) {
      const button = makeButton(entry.label, entry.act);
      if (entry.fault) button.dataset.fault = entry.fault;
      group.append(button);
    }
  }
  for (const button of group.querySelectorAll('[data-fault]')) {
    button.setAttribute('aria-pressed', String(state.faults.present.includes(button.dataset.fault)));
  }
}

function showRows() {
  const { crane, configuration } = state;
  const rows = [
    ['Radius', inUnits(crane.radius, 'm')],
    ['Load on the hook', inUnits(crane.load, 'kg')],
    ['Rated capacity', inUnits(crane.capacity, 'kg')],
    ['Utilisation', crane.percent === null ? '--' : `${Math.round(crane.percent)} %`],
    ['Base', configuration.base],
    ['Jib, pick point', `${configuration.jib}, ${configuration.pick}`],
    ['Parts of line', configuration.parts],
    ['Lamps', state.lamps.join(', ') || 'none'],
    ['Language, units', `${state.language}, ${state.units}`],
    ['View', state.view],
  ];
  byId('host-rows').replaceChildren(...rows.map(([name, value]) => {
    const row = document.createElement('tr');
    row.insertCell().textContent = name;
    row.insertCell().textContent = value;
    return row;
  }));
}

function showState() {
  byId('host-time').textContent = `${state.time.toFixed(0)} s${state.silent ? ', silent' : ''}`;
  showScenarios();
  showAxes();
  showFaults();
  showRows();
}

let known = false; // the last poll succeeded, so a problem on display comes from an action

async function poll() {
  if (!byId('host').hidden && !document.hidden) {
    try {
      state = await ask('state');
      if (!known) say('');
      known = true;
      showState();
    } catch (error) {
      known = false;
      say(error.message);
      for (const { slider } of sliders.values()) slider.disabled = true;
    }
  }
  setTimeout(poll, POLL_MS);
}

AXES.forEach(makeAxis);
byId('axes').addEventListener('submit', (event) => event.preventDefault());
byId('scenario').addEventListener('change', ({ target }) => act(`scenario ${target.value}`));
byId('host-do').addEventListener('submit', (event) => {
  event.preventDefault();
  const input = byId('action');
  if (input.value.trim()) act(input.value.trim()).then(() => input.select());
});
poll();
