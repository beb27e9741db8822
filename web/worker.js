// The worker's side: takes a file, answers with pixels or with another file. Whatever breaks the
// decoder (a trap, no memory) is answered with `crash`; the page then ends this worker and makes
// another. The decoder's own script follows this one.
var Module = {};
const ready = new Promise((resolve, reject) => {
  Module.onRuntimeInitialized = resolve;
  Module.onAbort = reject;  // a browser without the vectors of WebAssembly
});
let file = 0;
let size = 0;

// struct Report of decoder.cpp, with the FILEINFO of tavo45.h in it.
function read(report) {
  const memory = Module.HEAPU8;
  const fields = new DataView(memory.buffer, report);
  const word = (n) => fields.getInt32(4 * n, true);
  const text = (at, length) => {
    const bytes = memory.subarray(report + at, report + at + length);
    return String.fromCharCode(...bytes.subarray(0, bytes.indexOf(0)));
  };
  const bytes = fields.getUint32(28, true);
  return {
    status: word(0), width: word(1), height: word(2), rows: word(3), dpi: [word(4), word(5)],
    hasAlpha: word(6) !== 0, bytes: memory.slice(bytes, bytes + fields.getUint32(32, true)).buffer,
    pages: word(11), page: word(12), fileWidth: word(13), fileHeight: word(14), bits: word(15),
    colors: word(18), flags: word(21), compression: text(88, 32), orientation: word(30),
    extras: word(31), format: text(164, 32), description: text(196, 64), problem: text(260, 160),
  };
}

function take(bytes) {
  if (file !== 0) Module._free(file);
  size = bytes.byteLength;
  file = Module._malloc(Math.max(size, 1));
  if (file === 0) throw new Error('The file does not fit into memory');
  Module.HEAPU8.set(new Uint8Array(bytes), file);
}

async function answer({ id, kind, bytes, page, format, hasAlpha }) {
  await ready;
  if (bytes) take(bytes);
  const report = kind === 'save' ? Module._save_page(file, size, page, format, hasAlpha ? 1 : 0)
                                 : Module._open_page(file, size, page);
  const found = read(report);
  Module._close_page();
  postMessage({ id, heap: Module.HEAPU8.length, ...found }, [found.bytes]);
}

// One after the other: a decoder that is not ready yet keeps the first waiting.
let last = Promise.resolve();
onmessage = ({ data }) => {
  last = last.then(() => answer(data)).catch((error) => {
    postMessage({ id: data.id, crash: String(error) });
  });
};
