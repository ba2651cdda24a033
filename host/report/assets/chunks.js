'use strict';
// The report's data stand in the page as packed chunks. One is unpacked when it is needed first.

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
