(() => {
  "use strict";
  const table = document.getElementById("takes"), body = table.tBodies[0];
  const rows = [...body.rows], text = new Map(rows.map(row => [row, row.textContent.toLowerCase()]));
  const filter = document.getElementById("filter"), shown = document.getElementById("shown");
  const order = new Intl.Collator(undefined, {numeric: true});

  const apply = () => {
    const words = filter.value.toLowerCase().split(/\s+/);
    let count = 0;
    for (const row of rows) {
      row.hidden = !words.every(word => text.get(row).includes(word));
      if (!row.hidden) ++count;
    }
    shown.value = count + " of " + rows.length;
  };
  filter.addEventListener("input", apply);
  filter.closest("p").hidden = false;
  apply();

  const heads = [...table.tHead.rows[0].cells].slice(0, -1);
  heads.forEach((head, column) => {
    const button = document.createElement("button");
    button.textContent = head.textContent;
    head.replaceChildren(button);
    button.addEventListener("click", () => {
      const descending = head.getAttribute("aria-sort") === "ascending";
      for (const other of heads) other.removeAttribute("aria-sort");
      head.setAttribute("aria-sort", descending ? "descending" : "ascending");
      const key = row => row.cells[column].textContent, sign = descending ? -1 : 1;
      // What has no value stays at the end.
      rows.sort((a, b) => (key(a) === "") - (key(b) === "") || sign * order.compare(key(a), key(b)));
      body.append(...rows);
    });
  });
})();
