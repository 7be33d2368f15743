'use strict';

const report = JSON.parse(document.getElementById('data').textContent);
const STATES = ['right', 'wrong', 'empty', 'uncheckable']; // of a CRC
const MOST_RANGES = 100; // listed of one item

function get(id) { return document.getElementById(id); }
function spellHex(number, digits = 1) { return number.toString(16).toUpperCase().padStart(digits, '0'); }
function countOf(number, noun) { return `${number} ${noun}${number === 1 ? '' : 's'}`; }
function differFor(number) { return number === 1 ? 'differs' : 'differ'; }
function byteAndBit(bit) { return `${Math.floor(bit / 8)}.${bit % 8}`; }

// Gives an element attributes, listeners (the values that are functions) and children. Texts are
// never read as HTML.
function fill(element, attributes, ...children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === 'function') element.addEventListener(name, value);
    else element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}
function make(tag, attributes, ...children) {
  return fill(document.createElement(tag), attributes, ...children);
}
function draw(tag, attributes, ...children) {
  return fill(document.createElementNS('http://www.w3.org/2000/svg', tag), attributes, ...children);
}
function makeLink(text, click) { return make('button', {type: 'button', class: 'link', click}, text); }
function makeHeads(names) { return make('tr', {}, ...names.map((name) => make('th', {scope: 'col'}, name))); }

// ---- Items have contents: the memories of the map, then the EBRs that are in none of them ----

const HEX = Array.from({length: 256}, (_, byte) => spellHex(byte, 2));
const ROW_BYTES = 16; // of the dump, or one word
const PAGE_ROWS = 32;

function bytesOf(base64) { return Uint8Array.from(atob(base64), (character) => character.charCodeAt(0)); }

class Item {
  constructor(name, {old, new: changed, wordBits = 8, order = null, bases = []}) {
    Object.assign(this, {name, wordBits, order, wordBytes: Math.ceil(wordBits / 8)});
    this.bytes = bytesOf(old);
    this.changed = changed === undefined ? this.bytes : bytesOf(changed);
    this.words = this.bytes.length / this.wordBytes;
    this.noun = wordBits === 8 ? 'byte' : 'word';
    const rowBytes = this.wordBytes === 1 && report.outside ? ROW_BYTES / 2 : ROW_BYTES; // both dumps fit
    this.rowWords = Math.max(1, Math.floor(rowBytes / this.wordBytes));
    this.pageWords = this.rowWords * PAGE_ROWS;
    this.hasByteAddresses = wordBits % 8 === 0;
    this.isPlaced = bases.length !== 0;
    this.bases = this.isPlaced ? bases.map(BigInt) : [0n];
    this.addressDigits = Math.max(this.isPlaced ? 8 : 4, spellHex(this.bases[0] + BigInt(this.bytes.length)).length);
    this.ranges = this.findRanges();
  }

  // The ranges of words that differ: first and last word of each.
  findRanges() {
    const found = [];
    for (let word = 0; this.changed !== this.bytes && word < this.words; ++word) {
      if (!this.isDifferent(word)) continue;
      const before = found[found.length - 1];
      if (before && before.last === word - 1) before.last = word;
      else found.push({item: this, first: word, last: word});
    }
    return found;
  }
  isDifferent(word) {
    const end = (word + 1) * this.wordBytes;
    for (let at = word * this.wordBytes; at < end; ++at) if (this.bytes[at] !== this.changed[at]) return true;
    return false;
  }

  spellAddress(byte, base = this.bases[0]) { return `0x${spellHex(base + BigInt(byte), this.addressDigits)}`; }
  addressOf(word) { return this.hasByteAddresses ? this.spellAddress(word * this.wordBytes) : `word ${word}`; }
  spellRange({first, last}) {
    const end = this.hasByteAddresses ? this.spellAddress((last + 1) * this.wordBytes - 1) : `${last}`;
    const begin = this.addressOf(first);
    return first === last && begin.endsWith(end) ? begin : `${begin}..${end}`;
  }
  // The word at an address, undefined if it is elsewhere.
  wordAt(address) {
    const size = BigInt(this.hasByteAddresses ? this.wordBytes : 1);
    const base = this.bases.find((each) => address >= each && (address - each) / size < this.words);
    return base === undefined ? undefined : Number((address - base) / size);
  }

  spellWord(bytes, word) {
    const digits = Array.from(bytes.subarray(word * this.wordBytes, (word + 1) * this.wordBytes), (byte) => HEX[byte]);
    if (this.order === 'little') digits.reverse();
    return digits.join('').slice(-Math.ceil(this.wordBits / 4));
  }
  spellCharacters(bytes, word) {
    const inOrder = bytes.subarray(word * this.wordBytes, (word + 1) * this.wordBytes);
    return String.fromCharCode(...inOrder).replace(/[^ -~]/g, '.');
  }
}

const ebrs = report.sections, numEbrs = ebrs.length + report.leftOut.sections;
const memories = report.memories.map((memory) => new Item(memory.name, memory));
const items = [...memories];
for (const ebr of ebrs) {
  ebr.name = `EBR ${ebr.identifier}`;
  ebr.owner = ebr.memory === undefined ? '' : `${ebr.memory} part ${ebr.part}`;
  ebr.kind = memories.findIndex(({name}) => name === ebr.memory);
  ebr.item = memories[ebr.kind] || new Item(ebr.name, ebr);
  ebr.word = ebr.kind >= 0 ? report.memories[ebr.kind].parts[ebr.part - 1] : 0;
  if (ebr.kind < 0) items.push(ebr.item);
  if (memories.length === 0) ebr.kind = STATES.indexOf(ebr.crc);
}
const ranges = items.flatMap((item) => item.ranges);

function remarksOn(ebr) {
  const remarks = [ebr.crc === 'right' ? 'right' : `${ebr.crc} (not ${ebr.computedCrc})`];
  if (ebr.hidden) remarks.push('hidden');
  if (ebr.ninthBits) remarks.push(`${countOf(ebr.ninthBits, 'ninth bit')} set`);
  return remarks.join(', ');
}
function differenceIn({differs = {}}) {
  const payload = differs.payloadBits ? countOf(differs.payloadBits, 'payload bit') : '';
  return [payload, differs.crc ? 'CRC' : ''].filter((part) => part !== '').join(', ');
}
function describe(ebr) {
  const difference = differenceIn(ebr);
  return [ebr.name, ebr.owner, `bit ${ebr.bit} (byte ${byteAndBit(ebr.bit)})`, countOf(ebr.frames, 'frame'),
    `CRC ${ebr.storedCrc} ${remarksOn(ebr)}`, difference && `differs in ${difference}`].filter(Boolean).join(' · ');
}

// ---- The head of the page ----

function showFacts() {
  const names = report.newFile === undefined ? [report.file] : [report.file, report.newFile];
  document.title = `${names.join(' → ')} – bitstream report`;
  get('title').textContent = names.join(' → ');
  const facts = [['Size', countOf(report.bytes, 'byte')]];
  if (report.map !== undefined) facts.push(['Map', report.map]);
  const states = STATES.map((state) => [ebrs.filter(({crc}) => crc === state).length, state]);
  const counted = (pairs) => pairs.filter(([count]) => count !== 0).map((pair) => pair.join(' ')).join(', ');
  facts.push(['Design', report.design],
    ['EBRs', `${numEbrs}, identifiers of ${countOf(report.identifierBits, 'bit')}`], ['CRCs', counted(states)]);
  const {memories: maps, sections, others} = report.leftOut;
  const leftOut = counted([[maps, 'memories'], [sections, 'EBRs and their CRCs'], [others, 'other sections']]);
  if (leftOut !== '') facts.push(['Left out', `${leftOut}: this page has no room for them`]);
  for (const [name, value] of facts) get('facts').append(make('dt', {}, name), make('dd', {}, value));
}

function showDifferences() {
  get('differences').hidden = report.newFile === undefined;
  if (report.outside === undefined) {
    get('outside').append(`The sizes differ: ${report.bytes} and ${report.newBytes} bytes. Nothing was compared.`);
    return;
  }
  const {count, first} = report.outside;
  const bits = count === 0 ? 'nothing differs' : `${countOf(count, 'bit')} ${differFor(count)}`;
  get('outside').append('Outside of payloads and CRC fields, ', make('strong', {}, bits),
    count === 0 ? '.' : `, the first at bit ${first} (byte ${byteAndBit(first)}).`);
  get('changed').append(`${report.numChanged} of ${countOf(numEbrs, 'EBR')} ${differFor(report.numChanged)}.`);
  const differing = items.filter((item) => item.ranges.length !== 0);
  showTable(get('ranges'), ['Where', 'How much', 'Ranges'], differing.map((item) => {
    const words = item.ranges.reduce((sum, range) => sum + range.last - range.first + 1, 0);
    const links = item.ranges.slice(0, MOST_RANGES).map(
      (range) => makeLink(item.spellRange(range), () => goTo(item, range.first, true)));
    const left = item.ranges.length - links.length;
    if (left > 0) links.push(`and ${left} more, to which the key N goes`);
    const list = make('ul', {class: 'code'}, ...links.map((link) => make('li', {}, link)));
    return [item.name, countOf(words, item.noun), list];
  }));
}

// ---- The strip ----

const COLORS = 7;
const STATE_COLORS = [0, 5, 6, 3];
const TEXTURES = ['', 'M-2 2l4-4M-2 10l12-12M6 10l4-4', 'M0 4h8', 'M2 2h2M6 6h2', 'M4 0v8'];

// How EBRs of a kind are painted, which is the number of a memory or, without a map, of a state.
function paint(kind) {
  if (kind < 0) return {class: 'swatch none'};
  const color = memories.length === 0 ? STATE_COLORS[kind] : kind % COLORS, texture = kind % TEXTURES.length;
  const id = `look-${color}-${texture}`;
  if (get(id) === null) {
    get('patterns').append(draw('pattern', {id, width: 8, height: 8, patternUnits: 'userSpaceOnUse'},
      draw('rect', {width: 8, height: 8, class: `color${color}`}),
      draw('path', {d: TEXTURES[texture], class: 'texture'})));
  }
  return {class: 'swatch', fill: `url(#${id})`};
}

function showLegend() {
  const add = (attributes, text) => {
    const swatch = draw('rect', {x: 2, y: 2, width: 20, height: 10, ...attributes});
    get('legend').append(make('li', {}, draw('svg', {viewBox: '0 0 24 14', 'aria-hidden': 'true'}, swatch), text));
  };
  const names = memories.length === 0 ? STATES.map((state) => `EBR, CRC ${state}`) : memories.map(({name}) => name);
  [...names.entries(), [-1, 'EBR in no memory']].forEach(([kind, name]) => {
    if (ebrs.some((ebr) => ebr.kind === kind)) add(paint(kind), name);
  });
  if (report.numChanged) add({class: 'swatch changed', fill: 'none'}, 'differs');
  add({class: 'rest'}, 'the rest of the file');
}

// The file in rows; the bytes of a row are a power of two.
function showStrip() {
  const LEFT = 78, WIDTH = 1120, HEIGHT = 12, PITCH = 16, LEAST_BYTES = 256, MOST_ROWS = 32;
  let rowBytes = LEAST_BYTES;
  while (rowBytes * MOST_ROWS < report.bytes) rowBytes *= 2;
  const strip = get('strip'), rows = Math.ceil(report.bytes / rowBytes);
  strip.setAttribute('viewBox', `0 0 ${LEFT + WIDTH + 2} ${rows * PITCH + 2}`);
  // Appends a rectangle for the piece in each row of the bytes [begin, end), which may be fractions.
  const append = (parent, begin, end, attributes) => {
    for (let row = Math.floor(begin / rowBytes); row * rowBytes < end; ++row) {
      const from = Math.max(begin - row * rowBytes, 0), to = Math.min(end - row * rowBytes, rowBytes);
      parent.append(draw('rect', {x: LEFT + from / rowBytes * WIDTH, y: row * PITCH + 2, height: HEIGHT,
        width: Math.max(1, (to - from) / rowBytes * WIDTH), ...attributes}));
    }
  };
  append(strip, 0, report.bytes, {class: 'rest'});
  for (let row = 0; row < rows; ++row) {
    strip.append(draw('text', {x: 0, y: row * PITCH + 12}, `0x${spellHex(row * rowBytes, 6)}`));
  }
  let current = 0; // at which the Tab key stops; arrows move on from there
  const marks = ebrs.map((ebr, index) => {
    const point = () => { get('pointed').textContent = describe(ebr); };
    const mark = draw('g', {class: ebr.differs ? 'ebr changed' : 'ebr', role: 'button', tabindex: index === 0 ? 0 : -1,
      'aria-label': describe(ebr), pointerenter: point, focus: point, click: () => goTo(ebr.item, ebr.word, true)});
    append(mark, ebr.bit / 8, ebr.end / 8, paint(ebr.kind));
    return mark;
  });
  strip.append(...marks);
  strip.addEventListener('keydown', (event) => {
    const steps = {ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1, Home: -Infinity, End: Infinity};
    if (event.key === 'Enter' || event.key === ' ') goTo(ebrs[current].item, ebrs[current].word, true);
    else if (event.key in steps) {
      marks[current].setAttribute('tabindex', -1);
      current = Math.max(0, Math.min(marks.length - 1, current + steps[event.key]));
      marks[current].setAttribute('tabindex', 0);
      marks[current].focus();
    } else return;
    event.preventDefault();
  });
}

// ---- Tables ----

// Each with its name, the value by which it sorts and, if that isn't what it shows, a text.
const COLUMNS = [
  ['Identifier', (ebr) => ebr.identifier], ['Memory', (ebr) => ebr.owner],
  ['Bit', (ebr) => ebr.bit], ['Byte.bit', (ebr) => ebr.bit, (ebr) => byteAndBit(ebr.bit)],
  ['Frames', (ebr) => ebr.frames], ['Bytes', (ebr) => ebr.bytes], ['Used', (ebr) => ebr.used],
  ['CRC', (ebr) => ebr.storedCrc], ['State', remarksOn], ['Differs in', differenceIn],
];

function showEbrs() {
  const columns = COLUMNS.filter(([, value]) => ebrs.some((ebr) => value(ebr) !== ''));
  const classes = columns.map(([, value]) => (typeof value(ebrs[0]) === 'number' ? {class: 'number'} : {}));
  const rows = ebrs.map((ebr) => {
    const texts = columns.map(([, value, text = value]) => String(text(ebr)));
    const identifier = makeLink(texts[0], () => goTo(ebr.item, ebr.word, true));
    const element = make('tr', {}, make('th', {scope: 'row', class: 'code'}, identifier),
      ...texts.slice(1).map((text, i) => make('td', classes[i + 1], text)));
    return {ebr, element, text: texts.join(' ').toLowerCase()};
  });
  const heads = columns.map(([name, value], i) => make('th', {scope: 'col', ...classes[i]}, makeLink(name, () => {
    const isUp = heads[i].getAttribute('aria-sort') !== 'ascending';
    heads.forEach((head) => head.removeAttribute('aria-sort'));
    heads[i].setAttribute('aria-sort', isUp ? 'ascending' : 'descending');
    const compare = (a, b) => (a < b ? -1 : a > b ? 1 : 0);
    rows.sort((a, b) => compare(value(a.ebr), value(b.ebr)) * (isUp ? 1 : -1));
    get('ebrs').tBodies[0].append(...rows.map(({element}) => element));
  })));
  const filter = () => {
    const wanted = get('filter').value.toLowerCase();
    for (const {element, text} of rows) element.hidden = !text.includes(wanted);
    get('count').textContent = `${rows.filter(({element}) => !element.hidden).length} of ${countOf(numEbrs, 'EBR')}`;
  };
  get('ebrs').tHead.append(make('tr', {}, ...heads));
  get('ebrs').tBodies[0].append(...rows.map(({element}) => element));
  get('filter').addEventListener('input', filter);
  filter();
}

// Shows a part of the page with a plain table: the first cell of each row is its head.
function showTable(section, heads, rows) {
  section.hidden = rows.length === 0;
  section.querySelector('thead').append(makeHeads(heads));
  section.querySelector('tbody').append(...rows.map(([first, ...others]) => make('tr', {},
    make('th', {scope: 'row'}, first), ...others.map((cell) => make('td', {}, cell)))));
}

function memoryRow(item, {used}) {
  const all = item.bytes.length, share = 100 * used / all;
  const bar = make('span', {class: 'bar', 'aria-hidden': 'true'}, make('span', {}));
  bar.firstChild.style.width = `${share}%`;
  const spellAt = (base) => `${item.spellAddress(0, base)}..${item.spellAddress(all - 1, base)}`;
  const addresses = item.isPlaced ? item.bases.map(spellAt) : ['by name'];
  return [makeLink(item.name, () => goTo(item, 0, true)), make('span', {class: 'code'}, addresses.join(', ')),
    `${item.words} × ${countOf(item.wordBits, 'bit')}`, item.order || '–',
    make('span', {}, bar, `${used} of ${countOf(all, 'byte')} (${share.toFixed(1)} %)`)];
}

// ---- Contents: a picture of all of an item, and a page of its words ----

const shown = {item: null, word: 0, isTarget: false};

function pageOf({item, word}) { return Math.floor(word / item.pageWords); }

// Shows the page with the word. A target is marked, and the reader is led there.
function goTo(item, word, isTarget) {
  const isOther = item !== shown.item;
  Object.assign(shown, {item, word, isTarget});
  if (isOther) showPicture();
  showPage();
  if (!isTarget) return;
  get('contents').scrollIntoView();
  if (!get('contents').contains(document.activeElement)) get('heading').focus({preventScroll: true});
}

// Words of a row of the picture, which is about half as wide as high.
function pictureWords(item) {
  let words = 1;
  while (words * item.wordBytes < 32 || (words * item.wordBytes) ** 2 < item.bytes.length / 2) words *= 2;
  return words;
}

function showPicture() {
  const {item} = shown, canvas = get('picture'), perRow = pictureWords(item);
  canvas.width = perRow * item.wordBytes;
  canvas.height = Math.max(1, Math.ceil(item.words / perRow));
  canvas.style.width = `${canvas.width * Math.max(1, Math.floor(256 / canvas.width))}px`; // whole pixels
  const context = canvas.getContext('2d'), image = context.createImageData(canvas.width, canvas.height);
  item.changed.forEach((byte, at) => {
    const isDifferent = byte !== item.bytes[at];
    image.data.set(isDifferent ? [255, 110 + byte / 4, 0, 255] : [byte, byte, byte, 255], 4 * at);
  });
  context.putImageData(image, 0, 0);
  canvas.setAttribute('aria-label', `The bytes of ${item.name}, which the dump has as text`);
  get('caption').textContent = `A row is ${countOf(perRow, item.noun)}; the brighter, the higher the byte.${
    report.outside === undefined ? '' : ' New bytes that differ are orange.'} A click shows the words.`;
  get('item').value = items.indexOf(item);
}

function dumpCells(item, bytes, first, end) {
  const words = make('td', {}), characters = make('td', {});
  for (let word = first; word < end; ++word) {
    const tag = item.isDifferent(word) ? 'mark' : 'span';
    const attributes = shown.isTarget && word === shown.word ? {class: 'target'} : {};
    words.append(make(tag, attributes, item.spellWord(bytes, word)), word + 1 < end ? ' ' : '');
    characters.append(make(tag, attributes, item.spellCharacters(bytes, word)));
  }
  return [words, characters];
}

function showPage() {
  const {item} = shown, first = pageOf(shown) * item.pageWords;
  const end = Math.min(item.words, first + item.pageWords);
  const streams = report.outside === undefined ? [item.bytes] : [item.bytes, item.changed];
  const rows = [];
  for (let word = first; word < end; word += item.rowWords) {
    const cells = streams.flatMap((bytes) => dumpCells(item, bytes, word, Math.min(end, word + item.rowWords)));
    rows.push(make('tr', {}, make('th', {scope: 'row'}, item.addressOf(word)), ...cells));
  }
  const heads = streams.length === 1 ? ['Words', 'Characters'] : ['Old', 'Characters', 'New', 'Characters'];
  get('dump').tHead.replaceChildren(makeHeads(['Address', ...heads]));
  get('dump').tBodies[0].replaceChildren(...rows);
  const pages = Math.max(1, Math.ceil(item.words / item.pageWords));
  get('heading').textContent = item.name;
  get('place').textContent = `Page ${pageOf(shown) + 1} of ${pages}`;
  get('previous-page').disabled = pageOf(shown) === 0;
  get('next-page').disabled = pageOf(shown) + 1 === pages;
  const perRow = pictureWords(item), top = Math.floor(first / perRow), height = get('picture').height;
  get('window').style.top = `${100 * top / height}%`;
  get('window').style.height = `max(6px, ${100 * (Math.ceil(end / perRow) - top) / height}%)`;
}

function jump(event) {
  event.preventDefault();
  const text = get('address').value.replaceAll('_', '').trim();
  const address = /^(0[xX][0-9a-fA-F]+|[0-9]+)$/.test(text) ? BigInt(text) : -1n;
  const places = [shown.item, ...memories.filter(({isPlaced}) => isPlaced)];
  const found = places.find((item) => item.wordAt(address) !== undefined);
  if (found) goTo(found, found.wordAt(address), true);
  else get('place').textContent = address < 0n ? 'An address is decimal, or hexadecimal after 0x.' : 'Nothing there.';
}

// Goes to the next range that differs, or the one before; from the last one to the first.
function step(direction) {
  if (ranges.length === 0) return;
  const here = items.indexOf(shown.item), word = shown.isTarget ? shown.word : shown.word - direction;
  const distance = ({item, first}) => (items.indexOf(item) - here || first - word) * direction;
  const ahead = direction > 0 ? ranges : [...ranges].reverse();
  const next = ahead.find((range) => distance(range) > 0) || ahead[0];
  goTo(next.item, next.first, true);
  get('place').textContent += `, difference ${ranges.indexOf(next) + 1} of ${ranges.length}`;
}

function showContents() {
  get('item').append(...items.map(({name}, i) => make('option', {value: i}, name)));
  get('item').addEventListener('change', ({target}) => goTo(items[target.value], 0, false));
  get('jump').addEventListener('submit', jump);
  for (const [id, pages] of [['previous-page', -1], ['next-page', 1]]) {
    get(id).addEventListener('click', () => goTo(shown.item, (pageOf(shown) + pages) * shown.item.pageWords, false));
  }
  get('picture').addEventListener('click', ({offsetX, offsetY, target}) => {
    const {item} = shown, zoom = target.clientWidth / target.width;
    const word = Math.floor(offsetY / zoom) * pictureWords(item) + Math.floor(offsetX / zoom / item.wordBytes);
    if (word < item.words) goTo(item, word, true);
  });
  get('steps').hidden = ranges.length === 0;
  get('previous-difference').addEventListener('click', () => step(-1));
  get('next-difference').addEventListener('click', () => step(1));
  document.addEventListener('keydown', ({key, target, ctrlKey, altKey, metaKey}) => {
    if (ctrlKey || altKey || metaKey || target.matches('input, select')) return;
    if (key === 'n' || key === 'N') step(1);
    if (key === 'p' || key === 'P') step(-1);
  });
  goTo(items[0], 0, false);
}

showFacts();
showDifferences();
showLegend();
showStrip();
showTable(get('memories'), ['Name', 'Addresses', 'Words', 'Order', 'Filled'],
  memories.map((item, i) => memoryRow(item, report.memories[i])));
showTable(get('others'), ['Identifier', 'Bit', 'Byte.bit', 'Reason'],
  report.others.map(({identifier, bit, reason}) => [identifier, String(bit), byteAndBit(bit), reason]));
if (ebrs.length !== 0) {
  showEbrs();
  showContents();
}
