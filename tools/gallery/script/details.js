// The panel beside the grid: one file's findings, its picture by channels, what helps, its other pictures.

const details = {
  index: -1,  // of the file shown; -1: none
  version: "original",
  channel: "all",

  open(index) {
    this.index = index;
    const file = files[index];
    document.body.classList.add("has-details");
    $("details").hidden = false;
    $("details").scrollTop = 0;
    for (const card of document.querySelectorAll(".card[aria-current]")) card.removeAttribute("aria-current");
    cards[index].setAttribute("aria-current", "true");
    cards[index].scrollIntoView({ block: "nearest" });
    $("details-name").textContent = pathOf(file);
    $("details-grade").replaceChildren(gradeWord(file.grade));
    $("findings").replaceChildren(...file.findings.map((finding) => findingItem(finding, !file.changes)));
    $("help").hidden = !file.changes;
    $("changes").replaceChildren(...(file.changes || []).map((text) => element("li", "", text)));
    $("command").textContent = file.command || "";
    $("copy").hidden = !file.command;
    $("copy").textContent = "Copy";
    $("facts").replaceChildren(...file.facts.flatMap(([label, text]) => [element("dt", "", label), element("dd", "", text)]));
    this.showStrip(file.strip);
    this.show(file.versions.original || !file.versions.repaired ? "original" : "repaired", this.channel);
  },

  close() {
    const index = this.index;
    this.index = -1;
    $("details").hidden = true;
    document.body.classList.remove("has-details");
    if (index < 0) return;
    cards[index].removeAttribute("aria-current");
    cards[index].focus();
  },

  show(version, channel) {
    this.version = version;
    this.channel = channel;
    const { versions } = files[this.index];
    const picture = versions[version];
    $("versions").hidden = !versions.repaired;
    for (const button of $("versions").children) {
      button.setAttribute("aria-pressed", button.dataset.version === version);
    }
    $("channels").hidden = !picture;
    $("picture").hidden = !picture;
    $("no-picture").hidden = Boolean(picture);
    $("shown").textContent = picture ? shownText(picture) : "";
    if (!picture) return;
    // Without alpha there is one picture for all channels.
    const hasAlpha = picture.alpha !== undefined;
    const used = channel === "alpha" && !hasAlpha ? "all" : channel;
    for (const button of $("channels").children) {
      button.setAttribute("aria-pressed", button.dataset.channel === used);
      if (button.dataset.channel === "alpha") button.disabled = !hasAlpha;
    }
    const sources = { all: picture.all, alpha: picture.alpha };
    $("picture").src = sources[used] || picture.colour || picture.all;
    $("picture").dataset.channel = used;
    $("picture").classList.toggle("crisp", Math.max(...picture.shown) <= 256);
    $("picture").alt = `${files[this.index].name}, ${used === "all" ? "all channels" : used}`;
  },

  showStrip(strip) {
    $("strip").hidden = !strip;
    if (!strip) return;
    $("strip-title").textContent = strip.title;
    $("strip-notes").textContent = strip.notes.join(" ");
    $("surfaces").replaceChildren(...strip.surfaces.map(surfaceItem));
  },
};

// Advice is for files that no command helps.
function findingItem({ severity, text, advice }, hasAdvice) {
  const item = element("li");
  item.append(gradeWord(severity), ` ${text}`);
  if (advice && hasAdvice) item.append(element("span", "advice", ` ${advice[0].toUpperCase()}${advice.slice(1)}.`));
  return item;
}

function shownText({ width, height, shown, channels, exposure }) {
  const isReduced = shown[0] !== width || shown[1] !== height;
  const size = `${width} × ${height}${isReduced ? `, reduced to ${shown[0]} × ${shown[1]}` : ""}`;
  return [size, channels, exposure].filter(Boolean).join(" · ");
}

function surfaceItem({ name, width, height, picture }) {
  const item = element("li");
  const image = element("img", "checkered");
  if (picture) Object.assign(image, { src: picture, loading: "lazy", alt: name });
  item.append(image, element("span", "", name), element("span", "quiet", `${width} × ${height}`));
  return item;
}

// Copies the command, or selects it if the browser forbids copying.
async function copyCommand() {
  try {
    await navigator.clipboard.writeText($("command").textContent);
    $("copy").textContent = "Copied";
  } catch {
    getSelection().selectAllChildren($("command"));
    $("copy").textContent = "Selected";
  }
}
