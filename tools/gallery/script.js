// The gallery: cards of all files, filters, and the viewer of one picture. Each file is a block of JSON in the page;
// the pictures of its card and those of the viewer are blocks of their own, which are read only when they are to be
// shown. A picture's URL holds the picture itself or leads to a file beside the page.
"use strict";

const $ = (id) => document.getElementById(id);

const states = {
  fine: "Fine",
  noted: "With notes",
  black: "Fallback picture",
  failed: "Failed",
};
const kinds = {
  cause: "Why: ",
  error: "Why: ",
  note: "",
  repair: "Repair: ",
  conversion: "Repair --convert: ",
};
// What there may be pictures of.
const versions = {
  original: "as it is",
  mended: "mended",
};
// What the files can be filtered by, besides format and words.
const choices = [
  { id: "all", label: "All", takes: () => true },
  { id: "trouble", label: "Any trouble", takes: (file) => file.state !== "fine" },
  { id: "noted", label: "With notes", takes: (file) => file.state === "noted" },
  { id: "black", label: "Fallback picture", takes: (file) => file.state === "black" },
  { id: "failed", label: "Failed", takes: (file) => file.state === "failed" },
  { id: "repair", label: "Repair helps", takes: (file) => file.command !== undefined },
];

// What the files can be sorted by; where they are equal they stay as they are listed.
const collator = new Intl.Collator("en", { numeric: true });
const last = "\uFFFF";
const orders = [
  { id: "listed", label: "As listed", compare: () => 0 },
  { id: "name", label: "Name", compare: (a, b) => collator.compare(baseName(a), baseName(b)) },
  { id: "size", label: "Size, largest first", compare: (a, b) => area(b) - area(a) },
  { id: "format", label: "Format", compare: (a, b) => collator.compare(a.format || last, b.format || last) },
  { id: "trouble", label: "Trouble first", compare: (a, b) => trouble.indexOf(a.state) - trouble.indexOf(b.state) },
];
const trouble = ["failed", "black", "noted", "fine"];

function element(name, className, text) {
  const made = document.createElement(name);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  return made;
}

function counted(number, one) {
  return `${number} ${one}${number === 1 ? "" : "s"}`;
}

// The versions of a file that there are pictures of.
function versionsOf(file) {
  return Object.keys(versions).filter((version) => file[version]);
}

function baseName(file) {
  return file.name.slice(file.name.lastIndexOf("/") + 1);
}

// In texels; that of no picture is less than any.
function area(file) {
  const { width = 0, height = 0 } = file.original || {};
  return width * height;
}

// Cards.

function sizeText({ width, height }) {
  return `${width} × ${height}`;
}

function exposureText({ exposure, exposureIsChosen }) {
  if (exposure === undefined) return "";
  const stops = `${exposure > 0 ? "+" : ""}${String(exposure).replace("-", "−")} stops`;
  return `exposure ${stops}${exposureIsChosen ? ", chosen" : ""}`;
}

function factsText(file, version) {
  const told = file[version];
  if (!told) return "";
  const declared = version === "original" && file.declared ? `the file declares ${file.declared}` : "";
  const shown = told.shown ? `shown reduced to ${told.shown}` : "";
  const facts = [sizeText(told), told.channels, exposureText(told), declared, shown].filter(Boolean).join(" · ");
  return facts.replaceAll(" × ", "\u00A0×\u00A0");
}

// Of a file or of its mended copy.
function formatText({ format, contents, sameAs }, isFull) {
  const same = isFull && sameAs ? `, the same as ${sameAs}` : "";
  const more = contents ? ` (${contents}; the first picture is shown)` : "";
  return format ? format + same + more : "";
}

// The folder apart from the name, each with its own direction of writing.
function nameParts(file) {
  const place = file.name.lastIndexOf("/") + 1;
  const folder = element("bdi", "folder", file.name.slice(0, place));
  return [...(place > 0 ? [folder] : []), element("bdi", "", file.name.slice(place))];
}

function remarkItems(file) {
  return file.remarks.map((remark) => {
    const item = element("li");
    if (kinds[remark.kind]) item.append(element("b", "", kinds[remark.kind]));
    item.append(remark.text);
    return item;
  });
}

function badges(file) {
  const list = [element("span", `badge ${file.state}`, states[file.state])];
  if (file.command) list.push(element("span", "badge repair", "Repair helps"));
  return list;
}

// Puts the command that mends a file where it is to be read and copied.
function showCommand(place, file) {
  place.hidden = !file.command;
  if (!file.command) return;
  const parts = $("command").content.cloneNode(true);
  const [code, button] = parts.children;
  code.textContent = file.command;
  const label = (text) => {
    button.textContent = text;
    button.setAttribute("aria-label", `${text}: the command that mends ${file.name}`);
  };
  label("Copy");
  button.addEventListener("click", async () => label(await copy(code)));
  button.addEventListener("blur", () => label("Copy"));
  place.replaceChildren(parts);
}

// Where a browser gives no leave to write, its own keys copy what is selected. Returns what has been done.
async function copy(code) {
  try {
    await navigator.clipboard.writeText(code.textContent);
    return "Copied";
  } catch {
    getSelection().selectAllChildren(code);
    return "Selected";
  }
}

// The frame of a picture, which is loaded when it comes near the screen. Small pictures are enlarged, with crisp texels.
function makeFrame(file, index, version) {
  const frame = $("frame").content.firstElementChild.cloneNode(true);
  const [button, caption] = frame.children;
  const image = button.firstElementChild;
  const { thumbnailSize: [width, height] } = file[version];
  const mark = file.command ? `${versions[version]}, ` : "";
  image.alt = `${file.name}, ${mark}${sizeText(file[version])}`;
  image.width = width;
  image.height = height;
  image.classList.toggle("enlarged", Math.max(width, height) < 160);
  image.style.setProperty("--aspect", width / height);
  caption.textContent = versions[version];
  caption.hidden = !file.command;
  Object.assign(button.dataset, { index, version });
  button.addEventListener("click", () => viewer.open(index, version));
  thumbnails.observe(button);
  return frame;
}

function loadThumbnail(button) {
  const { index, version } = button.dataset;
  button.firstElementChild.src = JSON.parse($(`thumbnails-${index}`).textContent)[version];
}

const thumbnails = new IntersectionObserver((entries) => {
  for (const { isIntersecting, target } of entries) {
    if (!isIntersecting) continue;
    thumbnails.unobserve(target);
    loadThumbnail(target);
  }
}, { rootMargin: "600px 0px" });

function makeCard(file, index) {
  const card = $("card").content.firstElementChild.cloneNode(true);
  const part = (selector) => card.querySelector(selector);
  part(".pictures").append(...versionsOf(file).map((version) => makeFrame(file, index, version)));
  if (!file.original) part(".pictures").prepend(element("div", "none", "no picture"));
  part("h2").append(...nameParts(file));
  part(".facts").textContent = factsText(file, "original");
  part(".format").textContent = formatText(file, false);
  part(".badges").append(...badges(file));
  showCommand(part(".command"), file);
  part(".remarks").append(...remarkItems(file));
  card.dataset.state = file.state;
  return card;
}

// Filters.

function searchedText(file) {
  return [file.name, file.format, file.sameAs, ...file.remarks.map((remark) => remark.text)].join("\n").toLowerCase();
}

function makeChoices(files) {
  const row = element("div", "choices");
  for (const choice of choices) {
    const number = files.filter(choice.takes).length;
    if (number === 0 && choice.id !== "all") continue;
    const label = element("label", "choice");
    const input = element("input");
    Object.assign(input, { type: "radio", name: "state", value: choice.id, defaultChecked: choice.id === "all" });
    input.autocomplete = "off";
    const text = element("span", "", choice.label);
    text.append(element("span", "number", number));
    label.append(input, text);
    row.append(label);
  }
  $("states").append(row);
}

function makeFormats(files) {
  const numbers = new Map();
  for (const file of files) {
    if (file.format) numbers.set(file.format, (numbers.get(file.format) || 0) + 1);
  }
  const names = [...numbers.keys()].sort((a, b) => a.localeCompare(b, "en", { numeric: true }));
  for (const name of names) $("format").append(new Option(`${name} (${numbers.get(name)})`, name));
}

function makeOrders() {
  for (const { id, label } of orders) $("order").append(new Option(label, id));
}

function applyOrder() {
  const { compare } = orders.find((order) => order.id === $("order").value);
  sorted = files.map((_, index) => index).sort((a, b) => compare(files[a], files[b]) || a - b);
  applyFilters();
}

function applyFilters() {
  const chosen = choices.find((choice) => choice.id === $("filters").elements.state.value);
  const format = $("format").value;
  const words = $("words").value.toLowerCase().split(/\s+/).filter(Boolean);
  shown = sorted.filter((index) => chosen.takes(files[index]) && (!format || files[index].format === format) &&
    words.every((word) => texts[index].includes(word)));
  arrangeCards();
  $("empty").hidden = shown.length > 0 || files.length === 0;
  const order = $("order").value;
  const all = counted(files.length, "file");
  $("count").textContent = (shown.length === files.length ? all : `${shown.length} of ${all} shown`) +
    (order === "listed" ? "" : `, sorted by ${order}`);
}

// In blocks, of which the browser lays out those near the screen. A block has whole rows of any number of columns that
// there may be, one to six.
function arrangeCards() {
  const length = 60;
  const blocks = [];
  for (let start = 0; start < shown.length; start += length) {
    const block = element("div", "block");
    block.append(...shown.slice(start, start + length).map((index) => cards[index]));
    blocks.push(block);
  }
  $("cards").replaceChildren(...blocks);
}

// The order stays.
function resetFilters() {
  const order = $("order").value;
  $("filters").reset();
  $("order").value = order;
  applyFilters();
  $("filters").elements.state[0]?.focus();
}

// The viewer.

const viewer = {
  index: -1,  // of the file that is shown
  version: "original",
  pictures: null,  // of that file
  view: "all",
  zoom: 0,  // pixels of the screen a texel; 0: as large as fits
  loads: 0,  // counts the openings, so that a late picture is not shown as another file's

  open(index, version) {
    this.zoom = 0;
    this.show(index, version);
    $("viewer").showModal();
    this.layOut();
  },

  show(index, version) {
    this.index = index;
    const file = files[index];
    this.pictures = JSON.parse($(`pictures-${index}`).textContent);
    $("viewer-name").replaceChildren(...nameParts(file));
    const places = this.places();
    $("position").textContent = `${places.indexOf(index) + 1} of ${places.length}`;
    $("versions").hidden = !file.command;
    showCommand($("viewer-command"), file);
    this.showStrip(this.pictures.strip);
    for (const id of ["viewer", "details"]) $(id).scrollTop = 0;
    this.showVersion(version);
  },

  async showVersion(version) {
    this.version = version;
    const file = files[this.index];
    const state = version === "original" ? states[file.state] : "Mended copy";
    const facts = [factsText(file, version), formatText(version === "mended" ? file.mendedFormat : file, true), state];
    $("viewer-facts").textContent = facts.filter(Boolean).join(" · ");
    $("viewer-remarks").replaceChildren(...remarkItems(file));
    $("details").hidden = file.remarks.length === 0 && !this.pictures.strip;
    for (const button of document.querySelectorAll("#versions button")) {
      button.setAttribute("aria-pressed", button.dataset.version === version);
      button.setAttribute("aria-disabled", !file[button.dataset.version]);
    }
    const load = ++this.loads;
    const { alpha, both } = this.pictures[version];
    // A picture that is a file masks no other, and nothing but alpha is shown as that.
    const isMasked = alpha !== undefined && both === undefined && !this.told().isAlphaOnly;
    $("picture").style.setProperty("--alpha", isMasked ? `url("${alpha}")` : "none");
    $("picture").classList.toggle("masked", isMasked);
    if (alpha !== undefined) setSource($("alpha-picture"), alpha);
    this.layOut();
    this.choose(this.view);
    try {
      await Promise.all([$("colour-picture").decode(), alpha !== undefined ? $("alpha-picture").decode() : null]);
    } catch {
      if (load !== this.loads) return;
      const failure = "This browser cannot show the picture, which may be too large for it or no longer there.";
      $("viewer-remarks").prepend(element("li", "", failure));
      $("details").hidden = false;
      this.say(failure);
    }
  },

  showStrip(strip) {
    $("strip").hidden = !strip;
    $("surfaces").replaceChildren(...(strip ? strip.surfaces.map(surfaceItem) : []));
    if (!strip) return;
    $("strip-title").textContent = strip.title;
    $("strip-notes").textContent = strip.notes.join(" ");
  },

  say(text) {
    $("viewer-status").textContent = text;
  },

  // The button of the card that shows the picture.
  opener() {
    return cards[this.index].querySelector(`.open[data-version="${this.version}"]`);
  },

  // The files that can be opened, as they are filtered and sorted.
  places() {
    return shown.filter((index) => versionsOf(files[index]).length > 0);
  },

  step(by) {
    const places = this.places();
    const index = places[(places.indexOf(this.index) + by + places.length) % places.length];
    this.show(index, versionsOf(files[index])[0]);
    this.say(`${files[this.index].name}, ${$("position").textContent}`);
  },

  choose(view) {
    this.view = view;
    const { name, command } = files[this.index];
    const { colour, alpha, both } = this.pictures[this.version];
    const hasAlpha = alpha !== undefined;
    const { isAlphaOnly } = this.told();
    const shown = !hasAlpha && view === "alpha" ? "all" : isAlphaOnly && view === "all" ? "alpha" : view;
    for (const button of document.querySelectorAll("[data-view][type=button]")) {
      button.setAttribute("aria-pressed", button.dataset.view === shown);
      if (button.dataset.view !== "alpha") continue;
      button.setAttribute("aria-disabled", !hasAlpha);
      button.title = hasAlpha ? "" : "There is no alpha, or it is 255 everywhere";
    }
    $("picture").dataset.view = shown;
    setSource($("colour-picture"), shown === "all" && both !== undefined ? both : colour);
    $("colour-picture").hidden = shown === "alpha";
    $("alpha-picture").hidden = shown !== "alpha";
    const channels = { all: "all channels", colour: "colour without alpha" };
    const called = command ? `${name}, ${versions[this.version]}` : name;
    $("colour-picture").alt = `${called}, ${channels[shown] || `${shown} channel`}`;
    $("alpha-picture").alt = `${called}, alpha channel`;
  },

  // What is told of the picture.
  told() {
    return files[this.index][this.version];
  },

  // In pixels of the screen a texel.
  fittingScale() {
    const { width, height } = this.told();
    const scale = Math.min($("stage").clientWidth / width, $("stage").clientHeight / height) * devicePixelRatio;
    return scale > 1 ? Math.floor(scale) : scale;
  },

  scale() {
    return this.zoom || this.fittingScale();
  },

  layOut() {
    if (this.index < 0) return;
    const { width, height } = this.told();
    const scale = this.scale();
    const picture = $("picture");
    picture.style.width = `${Math.max(1, width * scale / devicePixelRatio)}px`;
    picture.style.height = `${Math.max(1, height * scale / devicePixelRatio)}px`;
    picture.classList.toggle("crisp", scale >= 1);
    $("scale").textContent = `${scale < 0.1 ? (scale * 100).toFixed(1) : Math.round(scale * 100)} %`;
    $("fit").setAttribute("aria-pressed", this.zoom === 0);
    $("one-to-one").setAttribute("aria-pressed", this.zoom === 1);
  },

  // Keeps what is in the middle of the stage there.
  zoomTo(zoom) {
    const stage = $("stage");
    const middle = (start, size, whole) => (start + size / 2) / whole;
    const x = middle(stage.scrollLeft, stage.clientWidth, stage.scrollWidth);
    const y = middle(stage.scrollTop, stage.clientHeight, stage.scrollHeight);
    this.zoom = zoom;
    this.layOut();
    stage.scrollLeft = x * stage.scrollWidth - stage.clientWidth / 2;
    stage.scrollTop = y * stage.scrollHeight - stage.clientHeight / 2;
  },

  // To the next power of two.
  zoomBy(direction) {
    const power = Math.log2(this.scale());
    const next = direction > 0 ? Math.floor(power + 0.001) + 1 : Math.ceil(power - 0.001) - 1;
    this.zoomTo(2 ** Math.min(6, Math.max(-8, next)));
  },

  onKey(event) {
    const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!step || event.altKey || event.ctrlKey || event.metaKey || event.shiftKey) return;
    // Arrows move what is larger than its frame.
    if (event.target.scrollWidth > event.target.clientWidth && event.target.tabIndex >= 0) return;
    event.preventDefault();
    this.step(step);
  },
};

// An image that is set again to what it is would be loaded again.
function setSource(image, url) {
  if (image.getAttribute("src") !== url) image.src = url;
}

// "-face0+x-mip01" as "face +x", "mip 1".
function surfaceWords(name) {
  const kinds = { array: "element" };
  const parts = name.matchAll(/-(array|face|mip|slice)0*(\d+)([+-][xyz])?/g);
  return [...parts].map(([, kind, number, face]) => `${kinds[kind] || kind} ${(face || number).replace("-", "−")}`);
}

// All have one size, whatever theirs is, so that what is in a small mipmap can be seen.
function surfaceItem({ name, width, height, picture }) {
  const item = element("li");
  const place = element("div", "surface");
  if (picture) {
    const image = element("img", "checkered");
    image.alt = "";
    image.loading = "lazy";
    image.classList.toggle("enlarged", Math.max(width, height) < 96);
    image.style.setProperty("--aspect", width / height);
    setSource(image, picture);
    place.append(image);
  } else {
    place.append("no picture");
  }
  item.append(place, ...surfaceWords(name).map((word) => element("span", "", word)));
  item.append(element("span", "size", `${width}\u00A0×\u00A0${height}`));
  return item;
}

function connect() {
  $("filters").addEventListener("input", (event) => (event.target === $("order") ? applyOrder : applyFilters)());
  $("filters").addEventListener("submit", (event) => event.preventDefault());
  $("reset").addEventListener("click", resetFilters);
  for (const button of document.querySelectorAll("#versions button")) {
    button.addEventListener("click", () => {
      if (button.getAttribute("aria-disabled") !== "true") viewer.showVersion(button.dataset.version);
    });
  }
  for (const button of document.querySelectorAll("[data-view][type=button]")) {
    button.addEventListener("click", () => {
      if (button.getAttribute("aria-disabled") !== "true") viewer.choose(button.dataset.view);
    });
  }
  $("fit").addEventListener("click", () => viewer.zoomTo(0));
  $("one-to-one").addEventListener("click", () => viewer.zoomTo(1));
  $("smaller").addEventListener("click", () => viewer.zoomBy(-1));
  $("larger").addEventListener("click", () => viewer.zoomBy(1));
  $("previous").addEventListener("click", () => viewer.step(-1));
  $("next").addEventListener("click", () => viewer.step(1));
  $("close").addEventListener("click", () => $("viewer").close());
  $("viewer").addEventListener("keydown", (event) => viewer.onKey(event));
  $("viewer").addEventListener("close", () => viewer.opener().focus());
  new ResizeObserver(() => viewer.layOut()).observe($("stage"));
}

const page = JSON.parse($("page").textContent);
const files = [...document.querySelectorAll("script.file")].map((block) => JSON.parse(block.textContent));
const texts = files.map(searchedText);
const cards = files.map(makeCard);
// The files' indices in the order of the page, and those of them that the filters leave.
let sorted, shown;
$("places").textContent = page.places.join(", ");
document.title = `Textures in ${page.places.join(", ")}`;
makeChoices(files);
makeFormats(files);
makeOrders();
connect();
applyOrder();
