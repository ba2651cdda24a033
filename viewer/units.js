// The simulator's numbers as the display shows them: in the panel's units, lengths to a tenth, weights to a hundred.

const FEET = 3.28084;
const POUNDS = 2.204623;
const HUNDRED = 100;

const isImperial = () => document.documentElement.dataset.units === 'feet';

function weight(kilograms, toHundreds) {
  if (kilograms === null) return '--';
  const value = Math.max(0, kilograms * (isImperial() ? POUNDS : 1));
  const shown = Math.trunc(toHundreds(value / HUNDRED)) * HUNDRED;
  return `${String(shown).replace(/\B(?=(\d{3})+$)/g, ',')} ${isImperial() ? 'lb' : 'kg'}`;
}

// The display rounds a load, and cuts a capacity, so that it never shows more than there is.
export const massText = (kilograms) => weight(kilograms, Math.round);
export const capacityText = (kilograms) => weight(kilograms, Math.trunc);

// A value just below 0 has no sign.
const tenths = (value) => value.toFixed(1).replace(/^-(?=0\.0$)/, '');

export function lengthText(metres) {
  return metres === null ? '--' : `${tenths(metres * (isImperial() ? FEET : 1))} ${isImperial() ? 'ft' : 'm'}`;
}

export function angleText(degrees) {
  return degrees === null ? '--' : `${tenths(degrees)}°`;
}
