// The gallery: cards of all files, filters, and the viewer of one picture. Each file is a block of JSON in the page;
// its pictures are a block of their own, which is read only when they are opened.
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
};
// What the files can be filtered by, besides format and words.
const choices = [
  { id: "all", label: "All", takes: () => true },
  { id: "trouble", label: "Any trouble", takes: (file) => file.state !== "fine" },
  { id: "noted", label: "With notes", takes: (file) => file.state === "noted" },
  { id: "black", label: "Fallback picture", takes: (file) => file.state === "black" },
  { id: "failed", label: "Failed", takes: (file) => file.state === "failed" },
  { id: "repair", label: "Repair helps", takes: (file) => file.remarks.some((remark) => remark.kind === "repair") },
];

function element(name, className, text) {
  const made = document.createElement(name);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  return made;
}

function counted(number, one) {
  return `${number} ${one}${number === 1 ? "" : "s"}`;
}

// Cards.

function sizeText(file) {
  return file.width ? `${file.width} × ${file.height}` : "";
}

function exposureText(file) {
  if (file.exposure === undefined) return "";
  const stops = `${file.exposure > 0 ? "+" : ""}${String(file.exposure).replace("-", "−")} stops`;
  return `exposure ${stops}${file.exposureIsChosen ? ", chosen" : ""}`;
}

function factsText(file) {
  const declared = file.declared ? `the file declares ${file.declared}` : "";
  const shown = file.shown ? `shown reduced to ${file.shown}` : "";
  const facts = [sizeText(file), file.channels, exposureText(file), declared, shown].filter(Boolean).join(" · ");
  return facts.replaceAll(" × ", "\u00A0×\u00A0");
}

function formatText(file) {
  const same = file.sameAs ? `, the same as ${file.sameAs}` : "";
  const contents = file.contents ? ` (${file.contents}; the first picture is shown)` : "";
  return file.format ? file.format + same + contents : "";
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
  if (choices.find((choice) => choice.id === "repair").takes(file)) {
    list.push(element("span", "badge repair", "Repair helps"));
  }
  return list;
}

// Fits the picture into its frame: small ones are enlarged, with crisp pixels.
function showThumbnail(image, file) {
  image.src = file.thumbnail;
  image.alt = `${file.name}, ${sizeText(file)}`;
  const [width, height] = file.thumbnailSize;
  const isSmall = Math.max(width, height) < 160;
  image.classList.toggle("enlarged", isSmall);
  image.width = width;
  image.height = height;
  if (!isSmall) return;
  image.style.aspectRatio = `${width} / ${height}`;
  image.style[width * 4 >= height * 5 ? "width" : "height"] = "100%";
  image.style[width * 4 >= height * 5 ? "height" : "width"] = "auto";
}

function makeCard(file, index) {
  const card = $("card").content.firstElementChild.cloneNode(true);
  const part = (selector) => card.querySelector(selector);
  const button = part(".open");
  if (file.thumbnail) {
    showThumbnail(button.firstElementChild, file);
    button.addEventListener("click", () => viewer.open(index));
    part(".none").remove();
  } else {
    button.remove();
  }
  part("h2").append(...nameParts(file));
  part(".facts").textContent = factsText(file);
  part(".format").textContent = formatText(file);
  part(".badges").append(...badges(file));
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

function applyFilters() {
  const chosen = choices.find((choice) => choice.id === $("filters").elements.state.value);
  const format = $("format").value;
  const words = $("words").value.toLowerCase().split(/\s+/).filter(Boolean);
  let shown = 0;
  files.forEach((file, index) => {
    const isShown = chosen.takes(file) && (!format || file.format === format) &&
      words.every((word) => texts[index].includes(word));
    cards[index].hidden = !isShown;
    if (isShown) ++shown;
  });
  $("empty").hidden = shown > 0 || files.length === 0;
  $("count").textContent =
    shown === files.length ? counted(shown, "file") : `${shown} of ${counted(files.length, "file")} shown`;
}

function resetFilters() {
  $("filters").reset();
  applyFilters();
  $("filters").elements.state[0]?.focus();
}

// The viewer.

const viewer = {
  index: -1,  // of the file that is shown
  view: "all",
  zoom: 0,  // pixels of the screen a texel; 0: as large as fits
  loads: 0,  // counts the openings, so that a late picture is not shown as another file's

  open(index) {
    this.zoom = 0;
    this.show(index);
    $("viewer").showModal();
    this.layOut();
  },

  async show(index) {
    this.index = index;
    const file = files[index];
    $("viewer-name").replaceChildren(...nameParts(file));
    $("viewer-facts").textContent = [factsText(file), formatText(file), states[file.state]].filter(Boolean).join(" · ");
    $("viewer-remarks").replaceChildren(...remarkItems(file));
    const places = this.places();
    $("position").textContent = `${places.indexOf(index) + 1} of ${places.length}`;
    const load = ++this.loads;
    const pictures = JSON.parse($(`pictures-${index}`).textContent);
    this.hasAlpha = pictures.alpha !== undefined;
    $("picture").style.setProperty("--alpha", this.hasAlpha ? `url("${pictures.alpha}")` : "none");
    $("picture").classList.toggle("transparent", this.hasAlpha);
    $("colour-picture").src = pictures.colour;
    if (this.hasAlpha) $("alpha-picture").src = pictures.alpha;
    this.layOut();
    this.choose(this.view);
    try {
      await Promise.all([$("colour-picture").decode(), this.hasAlpha ? $("alpha-picture").decode() : null]);
    } catch {
      if (load !== this.loads) return;
      const failure = "This browser cannot show the picture, which may be too large for it.";
      $("viewer-remarks").prepend(element("li", "", failure));
      this.say(failure);
    }
  },

  say(text) {
    $("viewer-status").textContent = text;
  },

  // The files that can be opened, as they are filtered.
  places() {
    return files.flatMap((file, index) => (file.thumbnail && !cards[index].hidden ? [index] : []));
  },

  step(by) {
    const places = this.places();
    this.show(places[(places.indexOf(this.index) + by + places.length) % places.length]);
    this.say(`${files[this.index].name}, ${$("position").textContent}`);
  },

  choose(view) {
    this.view = view;
    const { name, isAlphaOnly } = files[this.index];
    const shown = !this.hasAlpha && view === "alpha" ? "all" : isAlphaOnly && view === "all" ? "alpha" : view;
    for (const button of document.querySelectorAll("[data-view][type=button]")) {
      button.setAttribute("aria-pressed", button.dataset.view === shown);
      if (button.dataset.view !== "alpha") continue;
      button.setAttribute("aria-disabled", !this.hasAlpha);
      button.title = this.hasAlpha ? "" : "There is no alpha, or it is 255 everywhere";
    }
    $("picture").dataset.view = shown;
    $("colour-picture").hidden = shown === "alpha";
    $("alpha-picture").hidden = shown !== "alpha";
    const channels = { all: "all channels", colour: "colour without alpha" };
    $("colour-picture").alt = `${name}, ${channels[shown] || `${shown} channel`}`;
    $("alpha-picture").alt = `${name}, alpha channel`;
  },

  // In pixels of the screen a texel.
  fittingScale() {
    const { width, height } = files[this.index];
    const scale = Math.min($("stage").clientWidth / width, $("stage").clientHeight / height) * devicePixelRatio;
    return scale > 1 ? Math.floor(scale) : scale;
  },

  scale() {
    return this.zoom || this.fittingScale();
  },

  layOut() {
    if (this.index < 0) return;
    const { width, height } = files[this.index];
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
    // In the picture, arrows move what is larger than its frame.
    const stage = $("stage");
    if (event.target === stage && stage.scrollWidth > stage.clientWidth) return;
    event.preventDefault();
    this.step(step);
  },
};

function connect() {
  $("filters").addEventListener("input", applyFilters);
  $("filters").addEventListener("submit", (event) => event.preventDefault());
  $("reset").addEventListener("click", resetFilters);
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
  $("viewer").addEventListener("close", () => cards[viewer.index].querySelector("button").focus());
  new ResizeObserver(() => viewer.layOut()).observe($("stage"));
}

const page = JSON.parse($("page").textContent);
const files = [...document.querySelectorAll("script.file")].map((block) => JSON.parse(block.textContent));
const texts = files.map(searchedText);
const cards = files.map(makeCard);
$("places").textContent = page.places.join(", ");
document.title = `Textures in ${page.places.join(", ")}`;
$("cards").append(...cards);
makeChoices(files);
makeFormats(files);
connect();
applyFilters();
