// Search on pages that are read from a disk: a browser lets them neither fetch the index nor start a worker from a file. So the
// worker's source is a text in this script, and the index is a script, which is loaded after the page is shown.
var __search = {
  worker: URL.createObjectURL(new Blob([SEARCH_WORKER], { type: "text/javascript" })),
  index: new Promise((resolve) => {
    window.takeSearchIndex = resolve;
    const index = document.createElement("script");
    index.src = new URL("index.js", document.currentScript.src);
    addEventListener("load", () => document.head.append(index));
  }),
};
