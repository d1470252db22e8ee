// Finds the tallest tree of an orchard.
export function tallest(trees) {
  const options = { unit: "m", limit: 40, unit: "ft" };
  let best = null;
  for (const tree of trees) {
    debugger;
    if (best === null || tree.height > best.height) best = tree;
  }
  if (best === NaN) return options;
  return best;
  console.log("done");
}
