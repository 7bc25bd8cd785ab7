// What the theme needs on pages that are read from a disk. Runs before the theme's own script.

// A browser lets such pages neither fetch the search index nor start a worker from a file. So the worker's source is a text in
// this script, and the index is a script, which is loaded after the page is shown.
var __search = {
  worker: URL.createObjectURL(new Blob([SEARCH_WORKER], { type: "text/javascript" })),
  index: new Promise((resolve) => {
    window.takeSearchIndex = resolve;
    const index = document.createElement("script");
    index.src = new URL("search/index.js", document.currentScript.src);
    addEventListener("load", () => document.head.append(index));
  }),
};

// The theme saves the colours of a reader's first visit as if the reader had chosen them. Save them only after a choice, so that
// pages follow the system until then.
{
  const save = __md_set;
  let isChosen = false;
  document.addEventListener("change", (event) => (isChosen ||= event.target.name === "__palette"), true);
  __md_set = (key, ...values) => {
    if (key !== "__palette" || isChosen) save(key, ...values);
  };
}
