// Connects the page's parts.

makeFilters();
$("filters").addEventListener("input", (event) => {
  if (event.target.name === "grade") history.replaceState(null, "", event.target.value ? `#${event.target.value}` : "#");
  applyFilters();
});
$("filters").addEventListener("submit", (event) => event.preventDefault());
addEventListener("hashchange", readAddress);
$("reset").addEventListener("click", () => {
  $("filters").reset();
  history.replaceState(null, "", "#");
  readAddress();
});
$("close").addEventListener("click", () => details.close());
$("copy").addEventListener("click", copyCommand);
$("versions").addEventListener("click", ({ target }) => {
  if (target.dataset.version) details.show(target.dataset.version, details.channel);
});
$("channels").addEventListener("click", ({ target }) => {
  if (target.dataset.channel) details.show(details.version, target.dataset.channel);
});
addEventListener("keydown", (event) => {
  const isTyping = /^(INPUT|SELECT)$/.test(event.target.tagName);
  const card = event.target.closest(".card");
  if (event.key === "Escape" && details.index >= 0) {
    details.close();
  } else if (event.key.startsWith("Arrow") && !isTyping && (card || details.index >= 0) && shown.length > 0) {
    event.preventDefault();
    const index = neighbour(card ? Number(card.dataset.index) : details.index, event.key);
    cards[index].focus();
    if (details.index >= 0) details.open(index);
  }
});
readAddress();
