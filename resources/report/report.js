"use strict";
/* Steps from flaw to flaw by key, and keeps the filter and the place over a reload. The page says
   everything without it. */
(() => {
  const shown = () => [...document.querySelectorAll(".flaw[id]")].filter(
      flaw => flaw.getClientRects().length > 0 && !flaw.classList.contains("f-off"));
  const go = flaw => {
    flaw.focus({preventScroll: true});
    flaw.scrollIntoView({block: "center"});
  };
  const step = by => {
    const flaws = shown();
    if (flaws.length === 0) return;
    const here = document.activeElement.closest(".flaw[id]");
    let next = flaws.indexOf(here);
    if (here && next < 0) {
      /* On one that is dismissed: from where it stands. */
      const after = flaws.findIndex(
          flaw => here.compareDocumentPosition(flaw) & Node.DOCUMENT_POSITION_FOLLOWING);
      next = by > 0 ? (after < 0 ? flaws.length : after) - 1 : (after < 0 ? flaws.length : after);
    } else if (!here) {
      next = by > 0 ? -1 : flaws.length;
    }
    go(flaws[(next + by + flaws.length) % flaws.length]);
  };
  document.addEventListener("keydown", event => {
    if (event.ctrlKey || event.altKey || event.metaKey || event.target.closest("input[name]")) return;
    if (event.key === "n" || event.key === "j") step(1);
    else if (event.key === "p" || event.key === "k") step(-1);
    else return;
    event.preventDefault();
  });
  for (const steps of document.querySelectorAll(".steps")) {
    steps.hidden = false;
    for (const button of steps.querySelectorAll("button")) {
      button.addEventListener("click", () => step(Number(button.dataset.step)));
    }
  }
  const boxes = [...document.querySelectorAll(".tools input[type=checkbox]")];
  const key = "filter " + new URLSearchParams(location.search).get("run");
  try {
    const kept = sessionStorage.getItem(key);
    if (kept !== null) boxes.forEach((box, i) => { box.checked = kept[i] !== "0"; });
    for (const box of boxes) {
      box.addEventListener("change", () => sessionStorage.setItem(
          key, boxes.map(each => each.checked ? "1" : "0").join("")));
    }
  } catch (error) { /* A browser that keeps nothing for pages. */ }
  const aim = location.hash.startsWith("#k-") && document.getElementById(location.hash.slice(1));
  if (aim) go(aim.closest(".flaw"));
})();
