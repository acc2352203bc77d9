// Decodes what qsvmon prints: bytes in, objects out. Runs in browsers and in Node.js, needs nothing
// else, and may be taken as it is.
//
//   const bytes = new Uint8Array(await response.arrayBuffer());
//   const {data, total} = decode(bytes, "tcpreset-listip", {row: "1-20"});
//
// Why not JSON.parse:
//   - Texts are not escaped. In most members a backslash is a backslash: "C:\new" has no newline in
//     it. A double quote ends a text early and lets whoever chose it write members of his own.
//   - Texts are bytes, and not all of one encoding.
//   - A bitmap has 64 bits, of which a number keeps 53.
// So the document is read byte by byte against the members that the listing has, in their order and
// of their types. What does not fit is a BrokenDocument, never a guess.

/** A document that is not what its listing looks like. */
export class BrokenDocument extends Error {
  /**
   * @param {string} what What is wrong.
   * @param {number} offset The byte at which it was noticed.
   * @param {object[]} rows The rows before the one that is broken. They fit, but one of them may
   *   have been forged: show them with a warning or not at all.
   */
  constructor(what, offset, rows) {
    super(`${what}, at byte ${offset}, in row ${rows.length + 1}`);
    this.name = "BrokenDocument";
    this.offset = offset;
    this.rows = rows;
  }
}

// ---- The types of members ---------------------------------------------------------------------

const number = (min, max) => ({kind: "number", min, max});
const exactly = (value) => ({kind: "number", min: value, max: value});
const U8 = number(0, 0xff);
const U16 = number(0, 0xffff);
const U32 = number(0, 0xffffffff);
const I32 = number(-0x80000000, 0x7fffffff);
const U64 = {kind: "bitmap"};
/** Bytes as their author wrote them: UTF-8 when they are, else one character a byte. */
const TEXT = {kind: "text", encoding: "utf-8"};
/** The same with every backslash doubled. */
const DOUBLED = {kind: "text", encoding: "utf-8", doubled: true};
/** From a mail header: GB2312, without blanks, TAB, ESC, line ends and backslashes. */
const CLEANED = {kind: "text", encoding: "gbk", never: /[ \t\x1b\r\n\\]/};
const form = (pattern) => ({kind: "text", encoding: "utf-8", pattern});
const ADDRESS = form(/^\d{1,3}(\.\d{1,3}){3}$/);
const MAC = form(/^[0-9a-f]{2}(-[0-9a-f]{2}){5}$/);
const CLOCK = form(/^\d{4}-\d\d-\d\d\/\d\d:\d\d:\d\d$/);
const DIGITS = form(/^\d+$/);
const FLAG = form(/^[01]$/);
const PORTS = form(/^(\d+(,\d+){0,7})?$/);
const list = (...forms) => ({kind: "list", forms});

// ---- The listings -----------------------------------------------------------------------------

const COUNTERS = [["flowcnt", U32], ["http", U32], ["https", DIGITS], ["maxtime", U32], ["mintime", U32]];
const HIT = [["cnt", number(1, 0xffff)], ["id", I32], ["name", TEXT], ["cname", TEXT]];
const BY_ADDRESS = [["ip", ADDRESS], ["cnt", U32], ["ip_desc", TEXT], ["list", list(HIT)]];
const ENDPOINTS = [["src_ip", ADDRESS], ["src_port", U16], ["dst_ip", ADDRESS], ["dst_port", U16]];
const LABELS = [["srcip_desc", TEXT], ["dstip_desc", TEXT], ["ipmac_desc", TEXT]];
const LOGIN = [...ENDPOINTS, ["mac", MAC], ["start", U32], ["req_time", CLOCK], ["time", U32], ...LABELS,
  ["user", TEXT]];
const OPERATIONS = form(/^(UNKN|STOR|RETR|DELE|RMD|RNFR|RNTO|USER|PASS|NULL)$/);

/**
 * Every listing: the kinds of rows it may have, each as its members in order, the name of the number
 * behind the rows, and how it counts pages:
 *   "row"     row=FIRST-LAST, both counted from 1
 *   "short"   page= and limit=, where the first page has one row less than limit
 *   "page"    page= and limit=
 *   "all"     no pages
 */
export const LISTINGS = {
  "tcpreset-listip": {rows: [[["ip", ADDRESS], ...COUNTERS, ["port", PORTS]],
    [["ip", ADDRESS], ...COUNTERS, ["app", TEXT]]], total: "total", pages: "row"},
  "tcpreset-listdns": {rows: [[["dns", TEXT], ...COUNTERS, ["http20x", U32], ["http30x", U32],
    ["http40x", U32], ["http50x", U32], ["port", PORTS]]], total: "total", pages: "row"},
  "malclog-detail": {rows: [[
    ["list", list(
      [["tid", U16], ["type", U8], ["name", TEXT], ["cnt", exactly(1)]],
      [["tid", U16], ["type", U8], ["name", TEXT], ["mkmode", exactly(1)], ["cnt", exactly(1)]],
      [["id", number(0, 0x7fffffff)], ["type", exactly(0)], ["name", TEXT], ["cname", TEXT],
        ["mkmode", exactly(2)], ["cnt", exactly(1)]])],
    ...ENDPOINTS, ["apid", U16], ["appname", TEXT], ["appcname", TEXT], ["mac", MAC],
    ["req_time", CLOCK], ["time", U32], ["proto", U8], ["bitmap", U64], ["host", TEXT],
    ["srcip_desc", TEXT], ["dstip_desc", TEXT], ["sign", DIGITS], ["ipmac_desc", TEXT],
    ["src_sign", FLAG], ["dst_sign", FLAG], ["dns_sign", FLAG], ["uri_sign", FLAG]]],
    total: "count", signedTotal: true, pages: "page"},
  "malclog-dst": {rows: [BY_ADDRESS], total: "count", pages: "short"},
  "malclog-src": {rows: [BY_ADDRESS], total: "count", pages: "short"},
  "malclog-app": {rows: [[["apid", number(1, 999)], ["appname", TEXT], ["appcname", TEXT], ["count", U32],
    ["list", list(HIT)]]], total: "count", pages: "short"},
  "malclog-table": {rows: [
    [["tid", number(1, 0xffff)], ["mode", exactly(1)], ["vid", U16], ["type", U8], ["name", TEXT], ["cnt", U32]],
    [["id", number(0, 31)], ["tid", exactly(0)], ["vid", exactly(0)], ["type", exactly(0)],
      ["mode", exactly(2)], ["name", TEXT], ["cname", TEXT], ["cnt", U32]]], total: "count", pages: "all"},
  "malclog-host": {rows: [[["host", TEXT], ["cnt", U32],
    ["list", list([["cnt", number(1, 0xffff)], ["name", TEXT], ["mkmode", U8], ["cname", TEXT]])]]],
    total: "count", pages: "short"},
  "emaillog": {rows: [[...ENDPOINTS, ["apid", U16], ["appname", TEXT], ["mac", MAC], ["req_time", CLOCK],
    ["time", U32], ...LABELS, ["from", CLEANED], ["to", CLEANED], ["cc", CLEANED], ["subject", CLEANED],
    ["tolen", U16], ["file", CLEANED]]], total: "count", pages: "page"},
  "ftplog": {rows: [[...LOGIN, ["optype", OPERATIONS], ["name", TEXT]]], total: "count", pages: "page"},
  "telnetlog": {rows: [[...LOGIN, ["cmd", DOUBLED]]], total: "count", pages: "page"},
};

/** The listings of text lines: a pattern of a line and the members it holds, numbers where `numbers` says. */
export const LINE_LISTINGS = {
  // The names come first that fit: what a peer chose stands behind them and cannot move the columns.
  // They may hold blanks, so that where one ends and the next begins is not known.
  "tcpreset-list": {
    pattern: new RegExp("^(\\d+) (\\d{4}-\\d\\d-\\d\\d/\\d\\d:\\d\\d:\\d\\d) (.*?) (\\d+) (\\d+) (\\d+) (\\d+) " +
      "(0|\\d+\\.\\d\\d) (0|\\d+\\.\\d\\d) (0|\\d+\\.\\d\\d) (-?\\d+) (-?\\d+) (-?\\d+) ([^]*)$"),
    members: ["time", "local_time", "names", "src", "src_port", "dst", "dst_port", "metric1", "metric2",
      "metric3", "number1", "number2", "number3", "domain"],
    numbers: ["time", "src", "src_port", "dst", "dst_port", "metric1", "metric2", "metric3", "number1",
      "number2", "number3"]},
  "table-get": {pattern: /^(\S+)(?: ([^]*))?$/, members: ["entry", "label"], numbers: []},
  "qsviptable-get": {pattern: /^(\S+)(?: ([^]*))?$/, members: ["entry", "label"], numbers: []},
  "assetsobj2-list": {pattern: /^(\d+) (-?\d+) (-?\d+) ([^]*)$/,
    members: ["number1", "number2", "number3", "name"], numbers: ["number1", "number2", "number3"]},
};

// ---- Bytes to texts ---------------------------------------------------------------------------

const UTF8 = new TextDecoder("utf-8", {fatal: true, ignoreBOM: true});
const GBK = new TextDecoder("gbk");

/** One character a byte. (The label "latin1" of TextDecoder means windows-1252, which is not that.) */
function latin1(bytes) {
  let text = "";
  for (let at = 0; at < bytes.length; at += 4096) {
    text += String.fromCharCode(...bytes.subarray(at, at + 4096));
  }
  return text;
}

/** A text in its encoding. Bytes that "gbk" cannot read become U+FFFD. */
function textOf(bytes, encoding) {
  if (encoding === "gbk") return GBK.decode(bytes);
  try {
    return UTF8.decode(bytes);
  } catch {
    return latin1(bytes);
  }
}

// ---- Reading ----------------------------------------------------------------------------------

const QUOTE = 0x22;
const BLANK = 0x20;
const MINUS = 0x2d;

class Reader {
  constructor(bytes) {
    this.bytes = bytes;
    this.at = 0;
    this.rows = [];
  }

  fail(what, at = this.at) {
    throw new BrokenDocument(what, at, this.rows);
  }

  skipBlanks() {
    while (this.bytes[this.at] === BLANK) ++this.at;
  }

  /** True, and past it, when the next character is `character`. */
  accepts(character) {
    this.skipBlanks();
    if (this.bytes[this.at] !== character.charCodeAt(0)) return false;
    ++this.at;
    return true;
  }

  expect(character, where) {
    if (!this.accepts(character)) this.fail(`no "${character}" ${where}`);
  }

  /** The bytes up to the next double quote: no quote inside is ever escaped. */
  quoted(where) {
    this.expect('"', where);
    const end = this.bytes.indexOf(QUOTE, this.at);
    if (end < 0) this.fail(`no end of the text ${where}`);
    const text = this.bytes.subarray(this.at, end);
    this.at = end + 1;
    return text;
  }

  name(where) {
    const name = latin1(this.quoted(where));
    this.expect(":", `behind "${name}"`);
    return name;
  }

  text(type, where) {
    const start = this.at;
    const bytes = this.quoted(where);
    const raw = type.never || type.doubled ? latin1(bytes) : "";
    if (type.never?.test(raw)) this.fail(`a character ${where} that is always removed`, start);
    if (type.doubled && /\\/.test(raw.replaceAll("\\\\", ""))) this.fail(`a single backslash ${where}`, start);
    let text = textOf(bytes, type.encoding);
    if (type.doubled) text = text.replaceAll("\\\\", "\\");
    if (type.pattern && !type.pattern.test(text)) this.fail(`not of its form ${where}`, start);
    return text;
  }

  digits(where) {
    this.skipBlanks();
    const start = this.at;
    if (this.bytes[this.at] === MINUS) ++this.at;
    while (this.bytes[this.at] >= 0x30 && this.bytes[this.at] <= 0x39) ++this.at;
    const text = latin1(this.bytes.subarray(start, Math.min(this.at, start + 24)));
    if (!/^(0|-?[1-9]\d{0,19})$/.test(text)) this.fail(`no number ${where}`, start);
    return text;
  }

  value(type, where) {
    if (type.kind === "text") return this.text(type, where);
    if (type.kind === "list") return this.objects(type.forms, [], where);
    const start = this.at;
    const digits = this.digits(where);
    if (type.kind === "bitmap") {
      const bitmap = BigInt(digits);
      if (bitmap < 0n || bitmap >= 1n << 64n) this.fail(`too large a number ${where}`, start);
      return bitmap;
    }
    const value = Number(digits);
    if (value < type.min || value > type.max) this.fail(`a number out of its range ${where}`, start);
    return value;
  }

  /** An object that has the members of one of `forms`, all of them, in their order. */
  object(forms, where) {
    const object = {};
    this.expect("{", where);
    for (let i = 0; ; ++i) {
      if (i > 0 && this.accepts("}")) {
        if (!forms.some((members) => members.length === i)) this.fail(`the object ends too early ${where}`);
        return object;
      }
      if (i > 0) this.expect(",", where);
      const start = this.at;
      const name = this.name(where);
      forms = forms.filter((members) => members[i]?.[0] === name);
      if (forms.length === 0) this.fail(`an unexpected member ${where}`, start);
      object[name] = this.value(forms[0][i][1], `of "${name}"`);
      where = `behind "${name}"`;
    }
  }

  objects(forms, into, where) {
    this.expect("[", where);
    if (this.accepts("]")) return into;
    do into.push(this.object(forms, where)); while (this.accepts(","));
    this.expect("]", where);
    return into;
  }
}

/** How many rows a page of a listing with `total` rows has, or undefined when the words do not say. */
function rowsOfPage(pages, query, total) {
  if (pages === "all") return total;
  if (pages === "row") {
    const range = /^(\d+)-(\d+)$/.exec(query.row ?? "0-4294967295");
    return range ? Math.max(0, Math.min(+range[2], total) - Math.max(+range[1], 1) + 1) : undefined;
  }
  const page = Number(query.page ?? 1);
  const limit = Number(query.limit ?? 100);
  if (!(page >= 1 && limit >= 1)) return undefined;
  const before = (page - 1) * limit;
  if (pages === "page") return Math.max(0, Math.min(limit, total - before));
  return Math.max(0, Math.min(before + limit - 1, total) - Math.max(before, 1) + 1);
}

/** How many pages of `limit` rows a listing with `total` rows has; at least one. */
export function pageCount(listing, total, limit) {
  const {pages} = LISTINGS[listing] ?? {pages: "all"};
  if (pages === "all") return 1;
  return Math.max(1, pages === "short" ? Math.floor(total / limit) + 1 : Math.ceil(total / limit));
}

function decodeLines(bytes, {pattern, members, numbers}) {
  const data = [];
  for (let start = 0; start < bytes.length;) {
    let end = bytes.indexOf(0x0a, start);
    if (end < 0) end = bytes.length;
    const line = textOf(bytes.subarray(start, end), "utf-8");
    const found = pattern.exec(line);
    if (!found) throw new BrokenDocument("a line that is not of its form", start, data);
    const row = {};
    members.forEach((name, i) => {
      row[name] = numbers.includes(name) ? Number(found[i + 1]) : found[i + 1] ?? "";
    });
    data.push(row);
    start = end + 1;
  }
  return {data};
}

/**
 * The document that `bytes` hold: an object of `data`, the rows, and for JSON listings `total` or
 * `count`, as docs/schema/types describes it. Of listings of text lines there is `data` alone.
 *
 * Give the words that were asked with, `{page: "2", limit: "20"}`: then the number of rows is held
 * against the number that the page must have. That is what finds a forged row of malclog-host, the
 * one listing in which a text is long enough for a whole row.
 *
 * @param {Uint8Array} bytes What qsvmon printed with exit status 0.
 * @param {string} listing A name of LISTINGS or LINE_LISTINGS.
 * @param {Record<string, string>} query The words that select rows.
 * @throws {BrokenDocument}
 */
export function decode(bytes, listing, query = {}) {
  if (Object.hasOwn(LINE_LISTINGS, listing)) return decodeLines(bytes, LINE_LISTINGS[listing]);
  if (!Object.hasOwn(LISTINGS, listing)) throw new RangeError(`no listing ${listing}`);
  const {rows, total, signedTotal, pages} = LISTINGS[listing];
  const reader = new Reader(bytes);
  reader.expect("{", "at the beginning");
  if (reader.name("at the beginning") !== "data") reader.fail("no rows");
  reader.objects(rows, reader.rows, "of the rows");
  reader.expect(",", "behind the rows");
  if (reader.name("behind the rows") !== total) reader.fail(`no "${total}" behind the rows`);
  const count = reader.value(signedTotal ? I32 : U32, `of "${total}"`);
  reader.expect("}", "at the end");
  if (reader.at !== bytes.length) reader.fail("more behind the end");
  const due = rowsOfPage(pages, query, count);
  if (due !== undefined && due !== reader.rows.length) {
    reader.fail(`${reader.rows.length} rows where the page has ${due}`);
  }
  return {data: reader.rows, [total]: count};
}
