// Sorts seeds by name.
function sorted(seeds) {
  return seeds.sort((a, b => a.localeCompare(b));
}
