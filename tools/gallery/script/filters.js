// Which files are shown, and in what order. A grade in the page's address, as in index.html#wrong, is chosen first.

const collator = new Intl.Collator("en", { numeric: true });
const orders = [
  // Folder by folder; the files are sorted already.
  { id: "name", compare: (a, b) => folders.indexOf(a.folder) - folders.indexOf(b.folder), hasHeadings: true },
  { id: "grade", compare: (a, b) => worstFirst(a) - worstFirst(b) },
  { id: "size", compare: (a, b) => (b.pixels || 0) - (a.pixels || 0) },
  { id: "format", compare: (a, b) => collator.compare(a.format || "\uFFFF", b.format || "\uFFFF") },
];
const folders = [...new Set(files.map((file) => file.folder))];
const searched = files.map((file) =>
  [pathOf(file), file.format, ...file.findings.map((finding) => finding.text)].join("\n").toLowerCase());

// The indices of the files that are shown, in order.
let shown = [];

function makeFilters() {
  const makeChoice = (grade, number) => {
    const label = element("label", "choice");
    const input = element("input");
    Object.assign(input, { type: "radio", name: "grade", value: grade, autocomplete: "off" });
    const text = element("span", grade, grade || "all");
    text.append(element("span", "number", number));
    label.append(input, text);
    $("grades").append(label);
  };
  makeChoice("", files.length);
  for (const grade of grades) {
    const number = files.filter((file) => file.grade === grade).length;
    if (number > 0) makeChoice(grade, number);
  }
  for (const { id } of orders) $("order").append(new Option(id, id));
}

// Applies the grade in the page's address.
function readAddress() {
  const grade = decodeURIComponent(location.hash.slice(1));
  const inputs = [...document.getElementsByName("grade")];
  (inputs.find((input) => input.value === grade) || inputs[0]).checked = true;
  applyFilters();
}

function applyFilters() {
  const grade = $("filters").elements.grade.value;
  const words = $("words").value.toLowerCase().split(/\s+/).filter(Boolean);
  const order = orders.find(({ id }) => id === $("order").value);
  shown = files.map((_, index) => index)
    .filter((index) => (!grade || files[index].grade === grade) && words.every((word) => searched[index].includes(word)))
    .sort((a, b) => order.compare(files[a], files[b]) || a - b);
  arrangeCards(shown, Boolean(order.hasHeadings));
  $("empty").hidden = shown.length > 0;
  const all = `${files.length} file${files.length === 1 ? "" : "s"}`;
  $("count").textContent = shown.length === files.length ? all : `${shown.length} of ${all}`;
  if (details.index >= 0 && !shown.includes(details.index)) details.close();
}
