// The grid: one card per file, below one heading per folder if files are sorted by name.

const cards = files.map(makeCard);

function makeCard(file, index) {
  const card = element("button", "card");
  card.type = "button";
  card.dataset.index = index;
  const frame = element("span", "frame");
  const { original, repaired } = file.versions;
  const picture = original || repaired;
  if (picture) {
    frame.classList.add("checkered");
    const image = element("img");
    Object.assign(image, { src: picture.thumbnail, loading: "lazy", decoding: "async", alt: "" });
    // Small pictures are enlarged, with crisp texels.
    image.classList.toggle("crisp", Math.max(picture.width, picture.height) <= 64);
    frame.append(image);
  }
  const line = [file.size, file.format].filter(Boolean).join(" · ");
  card.append(frame, element("bdi", "name", file.name), element("span", "line", line), gradeWord(file.grade));
  card.title = pathOf(file);
  card.addEventListener("click", () => details.open(index));
  return card;
}

// Shows the cards of these files in this order.
function arrangeCards(indices, hasHeadings) {
  const parts = [];
  let grid, folder;
  for (const index of indices) {
    if (!grid || (hasHeadings && files[index].folder !== folder)) {
      folder = files[index].folder;
      if (hasHeadings && folder) parts.push(element("h2", "folder", folder));
      grid = element("div", "grid");
      parts.push(grid);
    }
    grid.append(cards[index]);
  }
  $("cards").replaceChildren(...parts);
}

// Returns the number of cards in a row of the card's grid.
function columnsAt(card) {
  return getComputedStyle(card.parentElement).gridTemplateColumns.split(" ").length;
}

// Returns the file that an arrow key leads to from another one.
function neighbour(index, key) {
  const columns = columnsAt(cards[index]);
  const by = { ArrowLeft: -1, ArrowRight: 1, ArrowUp: -columns, ArrowDown: columns }[key];
  const place = shown.indexOf(index) + by;
  return place >= 0 && place < shown.length ? shown[place] : index;
}
