// The page: a listing's words in a form, its rows in a table, its top rows as bars. What it shows is
// kept in the address behind "#", so that reloading, going back and bookmarks work.
//
// Everything that qsvmon printed reaches the page as textContent or as an attribute that only holds
// text. Nothing here makes markup of a string, and the server's Content-Security-Policy forbids it.

import {BrokenDocument, LINE_LISTINGS, LISTINGS, decode, pageCount} from "./qsvmon.js";

const SIZES = [10, 20, 50, 100];
const TOP = 10;
const MOST_LINES = 1000;

// ---- What each listing is asked and called ----------------------------------------------------

const address = {pattern: "[0-9]{1,3}(\\.[0-9]{1,3}){3}", title: "An address such as 10.1.1.9"};
const digits = {pattern: "[0-9]{1,9}", title: "A number"};
const name = {pattern: "[A-Za-z0-9._:\\-]{1,64}", title: "Letters, digits and . _ : - only"};
const mac = {pattern: "[0-9A-Fa-f]{2}([:\\-][0-9A-Fa-f]{2}){5}", title: "A MAC address such as 00-16-3e-00-00-05"};
const word = {pattern: "\\S{1,64}", title: "One word without blanks"};
const oneOf = (...values) => ({values});

const SORTED = ["flowcnt", "http", "https", "mintime", "maxtime"];
const SIGNATURE = {tid: digits, type: oneOf("ip", "dns"), itlgc_id: digits};
const events = (title) => ({title, words: SIGNATURE, count: "cnt"});

/**
 * `words` are the filters, `sort` the columns that the command sorts by, `largest` the value of order=
 * that puts the largest first, `count` the member that the bars show.
 */
const PAGES = {
  "tcpreset-listip": {title: "Reset sessions by address", words: {type: oneOf("dst", "src"), filter: name},
    sort: SORTED, largest: "asc", count: "flowcnt"},
  "tcpreset-listdns": {title: "Reset sessions by name", words: {filter: name},
    sort: [...SORTED, "http20x", "http30x", "http40x", "http50x"], largest: "desc", count: "flowcnt"},
  "tcpreset-list": {title: "Every reset session", words: {}},
  "malclog-detail": {title: "Malicious events", words: {...SIGNATURE, apid: digits, src: address, dst: address,
    host: name}},
  "malclog-dst": events("Events by destination"),
  "malclog-src": events("Events by source"),
  "malclog-app": {...events("Events by application"), count: "count"},
  "malclog-table": {...events("Events by signature"), words: {itlgc_id: digits}},
  "malclog-host": events("Events by host name"),
  "emaillog": {title: "Mails", words: {ip: address, mac, keywd: word}},
  "ftplog": {title: "FTP operations", words: {}},
  "telnetlog": {title: "Telnet commands", words: {}},
  "table-get": {title: "IP tables, log daemon", words: {tid: digits}, preset: {tid: "1", info: "1"}},
  "qsviptable-get": {title: "IP tables, management daemon", words: {tid: digits}, preset: {tid: "1", info: "1"}},
  "assetsobj2-list": {title: "Asset objects", words: {}, pages: "page"},
};
const FIRST = "tcpreset-listip";

const by = (id) => document.getElementById(id);
const make = (tag, text = "") => {
  const element = document.createElement(tag);
  element.textContent = text;
  return element;
};

// ---- The address ------------------------------------------------------------------------------

/** The listing and its words from the address. An unknown listing is the first one. */
function place() {
  const [listing, query = ""] = location.hash.slice(1).split("?", 2);
  if (!Object.hasOwn(PAGES, listing)) return {listing: FIRST, query: {}};
  return {listing, query: Object.fromEntries(new URLSearchParams(query))};
}

function address_of(listing, query) {
  return `#${listing}?${new URLSearchParams(query)}`;
}

const pagesOf = (listing) => LISTINGS[listing]?.pages ?? PAGES[listing].pages ?? "all";

/** Page number and rows a page, from the words of either kind. */
function pageOf(listing, query) {
  const range = /^(\d+)-(\d+)$/.exec(query.row ?? "");
  if (pagesOf(listing) !== "row") return {page: Number(query.page ?? 1), size: Number(query.limit ?? 20)};
  if (!range) return {page: 1, size: 20};
  const size = Math.max(1, range[2] - range[1] + 1);
  return {page: Math.floor((range[1] - 1) / size) + 1, size};
}

/** The words for a page. */
function withPage(listing, query, page, size) {
  const {row, page: _page, limit, ...words} = query;
  if (pagesOf(listing) === "all") return words;
  if (pagesOf(listing) === "row") return {...words, row: `${(page - 1) * size + 1}-${page * size}`};
  return {...words, page: String(page), limit: String(size)};
}

const go = (listing, query) => { location.hash = address_of(listing, query); };

// ---- Asking -----------------------------------------------------------------------------------

/** What the server says in place of an answer. */
class Failure extends Error {}

async function ask(listing, query, signal) {
  const response = await fetch(`listing/${listing}?${new URLSearchParams(query)}`, {signal});
  if (!response.ok) {
    const {error, status} = await response.json();
    throw new Failure(status === null ? `The server refuses: ${error}`
      : `qsvmon ended with status ${status}: ${error}`);
  }
  return decode(new Uint8Array(await response.arrayBuffer()), listing, query);
}

// ---- Texts ------------------------------------------------------------------------------------

// Control characters and those that turn the direction of writing would be invisible or mislead.
const HIDDEN = /[\u0000-\u001f\u007f-\u009f\u00ad\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g;

function visible(text) {
  return text.replace(HIDDEN, (c) => {
    const code = c.charCodeAt(0);
    if (code < 0x20) return String.fromCharCode(0x2400 + code);
    return `\u27e8${code.toString(16).toUpperCase().padStart(4, "0")}\u27e9`;
  });
}

const dotted = (value) => [24, 16, 8, 0].map((shift) => (value >>> shift) & 255).join(".");
const clock = (seconds) => new Date(seconds * 1000).toISOString().replace("T", " ").replace(".000Z", " UTC");
const slots = (bitmap) => [...Array(64).keys()].filter((n) => (bitmap >> BigInt(n)) & 1n);

/** An entry of a "list" in one line: the name, the category's own name, the hits. */
function hitText({name: hit, cname, cnt}) {
  const shown = cname === undefined || cname === "NULL" || cname === "(null)" ? hit : `${hit} (${cname})`;
  return visible(cnt > 1 ? `${shown} \u00d7 ${cnt}` : shown);
}

const TIMES = new Set(["time", "start", "maxtime", "mintime"]);
const NUMBERS_OF_ADDRESSES = new Set(["src", "dst"]);
const COUNTS_IN_QUOTES = new Set(["https"]);

function cell(column, value) {
  const td = document.createElement("td");
  td.dataset.column = column;
  if (Array.isArray(value)) {
    const ul = make("ul");
    for (const hit of value) ul.append(make("li", hitText(hit)));
    td.append(ul);
  } else if (typeof value === "bigint") {
    td.textContent = value === 0n ? "0" : `${value} (slots ${slots(value).join(", ")})`;
  } else if (typeof value === "number" && TIMES.has(column)) {
    td.textContent = clock(value);
    td.className = "fixed";
  } else if (typeof value === "number" && NUMBERS_OF_ADDRESSES.has(column)) {
    td.textContent = dotted(value);
    td.className = "fixed";
  } else if (typeof value === "number" || COUNTS_IN_QUOTES.has(column)) {
    td.textContent = String(value);
    td.className = "number";
  } else {
    td.textContent = visible(value ?? "");
    if (value?.length > 20) td.className = value.length > 120 ? "longest" : "long";
    if (/^(ip|\w+_ip|mac|req_time|local_time)$/.test(column)) td.className = "fixed";
  }
  return td;
}

// ---- Drawing ----------------------------------------------------------------------------------

/** The columns of what is shown: those of the rows, or of the listing when there are no rows. */
function columnsOf(listing, rows) {
  if (rows.length === 0) {
    return LINE_LISTINGS[listing]?.members ?? LISTINGS[listing].rows[0].map(([member]) => member);
  }
  return [...new Set(rows.flatMap((row) => Object.keys(row)))];
}

function drawHead(listing, query, columns) {
  const {sort = [], largest} = PAGES[listing];
  const tr = make("tr");
  for (const column of columns) {
    const th = make("th");
    th.scope = "col";
    if (sort.includes(column)) {
      const sorted = query.sort === column && query.order !== undefined;
      const down = sorted && query.order === largest;
      const button = make("button", column + (sorted ? (down ? " \u25bc" : " \u25b2") : ""));
      button.type = "button";
      button.dataset.sort = column;
      if (sorted) th.ariaSort = down ? "descending" : "ascending";
      const other = largest === "asc" ? "desc" : "asc";
      const {size} = pageOf(listing, query);
      button.addEventListener("click", () =>
        go(listing, withPage(listing, {...query, sort: column, order: down ? other : largest}, 1, size)));
      th.append(button);
    } else {
      th.textContent = column;
    }
    tr.append(th);
  }
  // A sort begins with a click on a button that is drawn anew: the focus stays on its column.
  const focused = document.activeElement?.dataset.sort;
  by("rows").tHead.replaceChildren(tr);
  if (focused !== undefined) [...tr.querySelectorAll("button")].find((b) => b.dataset.sort === focused)?.focus();
}

function drawRows(columns, rows) {
  by("rows").tBodies[0].replaceChildren(...rows.map((row) => {
    const tr = make("tr");
    tr.append(...columns.map((column) => cell(column, row[column])));
    return tr;
  }));
}

function drawPaging(listing, query, total) {
  const paged = pagesOf(listing) !== "all";
  by("paging").hidden = !paged;
  if (!paged) return;
  const {page, size} = pageOf(listing, query);
  // Of asset objects nobody says how many there are.
  const last = total === undefined ? Infinity : pageCount(listing, total, size);
  by("where").textContent = last === Infinity ? `page ${page}` : `page ${page} of ${last}`;
  const targets = {first: 1, previous: page - 1, next: page + 1, last};
  for (const button of by("paging").querySelectorAll("button")) {
    const to = targets[button.dataset.to];
    button.disabled = !(to >= 1 && to <= last && to < Infinity && to !== page);
    button.onclick = () => go(listing, withPage(listing, query, to, size));
  }
  const sizes = SIZES.includes(size) ? SIZES : [...SIZES, size];
  by("size").replaceChildren(...sizes.map((n) => new Option(String(n), String(n), false, n === size)));
  by("size").onchange = (event) => go(listing, withPage(listing, query, 1, Number(event.target.value)));
}

function field(key, kind, value) {
  const label = make("label", key);
  let input;
  if (kind.values) {
    input = make("select");
    input.append(...["", ...kind.values].map((v) => new Option(v, v, false, v === value)));
  } else {
    input = make("input");
    input.pattern = kind.pattern;
    input.title = kind.title;
    input.value = value;
  }
  input.name = key;
  label.append(input);
  return label;
}

function drawForm(listing, query) {
  const {words, sort, preset = {}} = PAGES[listing];
  const kinds = {...words, ...(sort ? {sort: oneOf(...sort), order: oneOf("asc", "desc")} : {})};
  const form = by("words");
  form.hidden = Object.keys(kinds).length === 0;
  const submit = make("button", "Show");
  form.replaceChildren(...Object.entries(kinds).map(([key, kind]) => field(key, kind, query[key] ?? "")), submit);
  form.onsubmit = (event) => {
    event.preventDefault();
    const given = Object.fromEntries([...new FormData(form)].filter(([, value]) => value !== ""));
    go(listing, withPage(listing, {...preset, ...given}, 1, pageOf(listing, query).size));
  };
}

/** What a bar is called: the first member that says who the row is. */
function barName(row) {
  return visible(row.ip ?? row.dns ?? row.host ?? row.appcname ?? row.cname ?? row.name);
}

async function drawChart(listing, query, document_, signal) {
  const {count, sort, largest} = PAGES[listing];
  const rows = count === undefined ? [] : await topRows();
  by("chart").hidden = rows.length === 0;
  if (rows.length === 0) return;
  by("chart-title").textContent = `Top ${rows.length} by ${count}`;
  const most = Math.max(1, ...rows.map((row) => row[count]));
  by("bars").replaceChildren(...rows.map((row) => {
    const li = make("li");
    const bar = make("i");
    bar.ariaHidden = "true";
    bar.style.width = `${(100 * row[count]) / most}%`;
    li.append(make("span", barName(row)), bar, make("b", String(row[count])));
    return li;
  }));

  /** The top of the whole listing, whichever page and order the table shows. */
  async function topRows() {
    if (pagesOf(listing) === "all") {
      return [...document_.data].sort((a, b) => b[count] - a[count]).slice(0, TOP);
    }
    const words = sort ? {...query, sort: count, order: largest} : query;
    // A first page that has one row less than its limit needs one more.
    const limit = pagesOf(listing) === "short" ? TOP + 1 : TOP;
    return (await ask(listing, withPage(listing, words, 1, limit), signal)).data;
  }
}

// ---- Putting it together ----------------------------------------------------------------------

function complain(text) {
  by("problem").textContent = visible(text);
  by("problem").hidden = text === "";
}

function describe(listing, rows, total) {
  if (total !== undefined) return `Rows: ${rows} of ${total}`;
  return rows > MOST_LINES ? `Lines: the first ${MOST_LINES} of ${rows}` : `Lines: ${rows}`;
}

let running = new AbortController();

async function show() {
  running.abort();
  running = new AbortController();
  const {signal} = running;
  const {listing, query: asked} = place();
  const {title, preset = {}} = PAGES[listing];
  const {page, size} = pageOf(listing, asked);
  const query = withPage(listing, {...preset, ...asked}, page, size);
  document.title = `${title} - Traffic monitor`;
  by("title").textContent = title;
  for (const a of by("listings").querySelectorAll("a")) {
    if (a.dataset.listing === listing) a.ariaCurrent = "page";
    else a.removeAttribute("aria-current");
  }
  drawForm(listing, query);
  by("rows").ariaBusy = "true";
  let rows = [];
  let total;
  try {
    const found = await ask(listing, query, signal);
    rows = found.data;
    total = found.total ?? found.count;
    await drawChart(listing, query, found, signal);
    complain("");
    by("state").textContent = describe(listing, rows.length, total);
  } catch (error) {
    if (signal.aborted) return;
    const broken = error instanceof BrokenDocument;
    // What was read before the break fits, but a forged row may be among it: it is not shown.
    complain(broken ? `The answer is broken and not shown: ${error.message}. A text with a double quote does this.`
      : error.message);
    rows = [];
    by("chart").hidden = true;
    by("state").textContent = "";
  }
  const columns = columnsOf(listing, rows);
  drawHead(listing, query, columns);
  drawRows(columns, rows.slice(0, pagesOf(listing) === "all" ? MOST_LINES : undefined));
  drawPaging(listing, query, total);
  by("rows").ariaBusy = "false";
  // For whoever drives the page: what is shown belongs to this address.
  by("main").dataset.shown = location.hash;
}

by("listings").append(...Object.entries(PAGES).flatMap(([listing, {title}]) => {
  const a = make("a", title);
  a.href = `#${listing}`;
  a.dataset.listing = listing;
  return [a, " "];
}));
by("skip").addEventListener("click", (event) => {
  event.preventDefault();  // the address holds the listing
  by("main").focus();
});
addEventListener("hashchange", show);
show();
