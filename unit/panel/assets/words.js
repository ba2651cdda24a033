// The panel's words, from the same catalogues as the screen's: in the display's language, or the one chosen in the head.

const LANGUAGES = ['en', 'es', 'pt', 'zh', 'ru', 'fr']; // by the value of OrvikLanguage
// The attributes that name a word, and where its text goes.
const PLACES = {
  'data-word': (element, text) => { element.textContent = text; },
  'data-word-label': (element, text) => element.setAttribute('aria-label', text),
  'data-word-hint': (element, text) => element.setAttribute('placeholder', text),
  'data-word-title': (element, text) => element.setAttribute('title', text),
};

const catalogues = new Map(); // language to its words
const followers = [];
let words = new Map();
let language = -1;

// The fallback is for the time before the first catalogue has come, and for names that no catalogue has.
export function word(key, fallback = key) {
  return words.get(key) ?? fallback;
}

// Calls `show` whenever the words have changed. For texts that the attributes above cannot say.
export function followWords(show) {
  followers.push(show);
}

async function loadWords(code) {
  const response = await fetch(`/words/${code}.xml`);
  if (!response.ok) throw new Error(`no words in ${code}`);
  const file = new DOMParser().parseFromString(await response.text(), 'text/xml');
  return new Map([...file.querySelectorAll('word')].map((entry) => [entry.getAttribute('key'), entry.textContent]));
}

function showWords() {
  for (const [attribute, say] of Object.entries(PLACES)) {
    for (const element of document.querySelectorAll(`[${attribute}]`)) {
      const text = words.get(element.getAttribute(attribute));
      if (text !== undefined) say(element, text);
    }
  }
  document.title = `Orvik ${word('panel.title', 'front panel')}`;
  followers.forEach((show) => show());
}

// `wanted` is a value of OrvikLanguage.
export async function setLanguage(wanted) {
  if (wanted === language || !LANGUAGES[wanted]) return;
  language = wanted;
  document.documentElement.lang = LANGUAGES[wanted];
  try {
    if (!catalogues.has(wanted)) catalogues.set(wanted, await loadWords(LANGUAGES[wanted]));
    if (language !== wanted) return; // another was asked for meanwhile
    words = catalogues.get(wanted);
    showWords();
  } catch {
    if (language === wanted) language = -1; // asked again with the next change
  }
}
