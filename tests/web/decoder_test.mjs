// examples/web/qsvmon.js against documents written out by hand. Run by Node.js: node --test.
import assert from "node:assert/strict";
import {readFileSync, readdirSync} from "node:fs";
import test from "node:test";

import {BrokenDocument, LISTINGS, decode, pageCount} from "../../examples/web/qsvmon.js";

const TOP = new URL("../../", import.meta.url);

/** Bytes of a text whose characters are bytes. */
const bytes = (text) => Uint8Array.from(text, (c) => c.charCodeAt(0));
const read = (listing, text, query) => decode(bytes(text), listing, query);

/** That the document is broken, at this byte and for this reason. */
function broken(listing, text, offset, reason, query) {
  assert.throws(() => read(listing, text, query), (error) => {
    assert.ok(error instanceof BrokenDocument, `${error}`);
    assert.match(error.message, reason);
    assert.equal(error.offset, offset, error.message);
    return true;
  });
}

const host = (name, rest = ',"cnt":1,"list":[]}') => `{"host":"${name}"${rest}`;
const hosts = (...rows) => `{"data":[${rows.join(",")}],"count":${rows.length}}`;
const telnet = (user, cmd) =>
  '{"data":[{"src_ip":"10.20.2.7","src_port":40010,"dst_ip":"172.16.1.11","dst_port":23,' +
  '"mac":"00-16-3e-00-00-07","start":1700000000,"req_time":"2023-11-14/22:13:40","time":1700000020,' +
  `"srcip_desc":"","dstip_desc":"","ipmac_desc":"","user":"${user}","cmd":"${cmd}"}],"count":1}`;
const ftp = (user, name) => telnet(user, "").replace('"cmd":""', `"optype":"RETR","name":"${name}"`);
const mail = (from, subject, appname = "Mail") =>
  '{"data":[{"src_ip":"10.20.1.5","src_port":40000,"dst_ip":"10.20.0.25","dst_port":25,"apid":8,' +
  `"appname":"${appname}","mac":"00-16-3e-00-00-05","req_time":"2023-11-14/22:13:20","time":1700000000,` +
  `"srcip_desc":"","dstip_desc":"","ipmac_desc":"","from":"${from}","to":"","cc":"",` +
  `"subject":"${subject}","tolen":0,"file":""}],"count":1}`;
const event = (bitmap, name = "", entry = '{"tid":1,"type":0,"name":"x","mkmode":1,"cnt":1}') =>
  `{"list":[${entry}],"src_ip":"1.2.3.4","src_port":1,"dst_ip":"5.6.7.8","dst_port":2,"apid":3,` +
  '"appname":"dns","appcname":"Names","mac":"00-16-3e-00-00-05","req_time":"2023-11-14/22:13:20",' +
  `"time":1700000000,"proto":17,"bitmap":${bitmap},"host":"${name}","srcip_desc":"","dstip_desc":"",` +
  '"sign":"4","ipmac_desc":"","src_sign":"0","dst_sign":"0","dns_sign":"1","uri_sign":"0"}';
const detail = (...rows) => `{"data":[${rows.join(",")}], "count":${rows.length}}`;

test("both kinds of rows of listip", () => {
  const row = '"ip":"10.1.1.9","flowcnt":3,"http":1,"https":"2","maxtime":1710000300, "mintime":1710000000';
  const common = {ip: "10.1.1.9", flowcnt: 3, http: 1, https: "2", maxtime: 1710000300, mintime: 1710000000};
  assert.deepEqual(read("tcpreset-listip", `{"data":[{${row},"port":"443,80"}],"total":1}`),
    {data: [{...common, port: "443,80"}], total: 1});
  assert.deepEqual(read("tcpreset-listip", `{"data":[{${row},"app":"http|Web"}],"total":1}`),
    {data: [{...common, app: "http|Web"}], total: 1});
  broken("tcpreset-listip", `{"data":[{${row}}],"total":1}`, 102, /ends too early/);
  broken("tcpreset-listip", `{"data":[{${row},"port":"1","app":"x"}],"total":1}`, 113, /unexpected member/);
});

test("names with all their counters", () => {
  assert.deepEqual(read("tcpreset-listdns",
    '{"data":[{"dns":"example.org","flowcnt":2,"http":2,"https":"0","maxtime":1710000300, ' +
    '"mintime":1710000000,"http20x":1,"http30x":0,"http40x":1,"http50x":0,"port":"80"}],"total":1}'),
  {data: [{dns: "example.org", flowcnt: 2, http: 2, https: "0", maxtime: 1710000300, mintime: 1710000000,
    http20x: 1, http30x: 0, http40x: 1, http50x: 0, port: "80"}], total: 1});
});

test("entries of addresses, applications and hosts", () => {
  const entry = '{"cnt":12, "id":7, "name":"botnet", "cname":"Botnet"}';
  const hit = {cnt: 12, id: 7, name: "botnet", cname: "Botnet"};
  for (const listing of ["malclog-dst", "malclog-src"]) {
    assert.deepEqual(read(listing, `{"data":[{"ip":"10.1.1.9","cnt":12,"ip_desc":"desk","list":[${entry},${entry}]}],"count":1}`),
      {data: [{ip: "10.1.1.9", cnt: 12, ip_desc: "desk", list: [hit, hit]}], count: 1});
  }
  assert.deepEqual(read("malclog-app", `{"data":[{"apid":3,"appname":"dns","appcname":"Names","count":2,"list":[${entry}]}],"count":1}`),
    {data: [{apid: 3, appname: "dns", appcname: "Names", count: 2, list: [hit]}], count: 1});
  assert.deepEqual(read("malclog-host", hosts(host("a.example", ',"cnt":2,"list":[{"cnt":2, "name":"x", "mkmode":1, "cname":"NULL"}]}'))),
    {data: [{host: "a.example", cnt: 2, list: [{cnt: 2, name: "x", mkmode: 1, cname: "NULL"}]}], count: 1});
});

test("both kinds of objects of the signature listing", () => {
  assert.deepEqual(read("malclog-table",
    '{"data":[{"tid":5,"mode":1,"vid":2,"type":1,"name":"scan","cnt":31},' +
    '{"id":7,"tid":0,"vid":0,"type":0,"mode":2,"name":"botnet","cname":"Botnet","cnt":12}],"count":2}'),
  {data: [{tid: 5, mode: 1, vid: 2, type: 1, name: "scan", cnt: 31},
    {id: 7, tid: 0, vid: 0, type: 0, mode: 2, name: "botnet", cname: "Botnet", cnt: 12}], count: 2});
});

test("all three kinds of entries of an event", () => {
  const asked = '{"tid":1,"type":0,"name":"x","cnt":1}';
  const category = '{"id":9,"type":0,"name":"y","cname":"Y","mkmode":2,"cnt":1}';
  const found = read("malclog-detail", detail(event("1"), event("1", "", asked), event("1", "", category)));
  assert.deepEqual(found.data.map((row) => row.list), [[{tid: 1, type: 0, name: "x", mkmode: 1, cnt: 1}],
    [{tid: 1, type: 0, name: "x", cnt: 1}], [{id: 9, type: 0, name: "y", cname: "Y", mkmode: 2, cnt: 1}]]);
});

test("a bitmap keeps all of its 64 bits", () => {
  const found = read("malclog-detail", detail(event("18446744073709551615"), event("9223372036854775809"), event("0")));
  assert.deepEqual(found.data.map((row) => row.bitmap), [18446744073709551615n, 9223372036854775809n, 0n]);
  assert.throws(() => read("malclog-detail", detail(event("18446744073709551616"))), /too large/);
  assert.throws(() => read("malclog-detail", detail(event("-1"))), /too large/);
});

test("mail headers are GB2312, other texts UTF-8 or one character a byte", () => {
  const [row] = read("emaillog", mail("\xcd\xf5\xb7\xbc<wang@example>", "\xc4\xe3\xba\xc3",
    "\xe4\xbd\xa0\xe5\xa5\xbd")).data;
  assert.deepEqual([row.from, row.subject, row.appname], ["王芳<wang@example>", "你好", "你好"]);
  assert.equal(read("emaillog", mail("", "", "caf\xe9")).data[0].appname, "caf\u00e9");
  assert.equal(read("emaillog", mail("", "", "\x80")).data[0].appname, "\u0080");  // no euro sign
});

test("a mark of byte order is a character like any other", () => {
  assert.equal(read("malclog-host", hosts(host("\xef\xbb\xbfa"))).data[0].host, "\ufeffa");
});

test("a character cut in half does not swallow the quote behind it", () => {
  assert.equal(read("emaillog", mail("a\xc4", "")).data[0].from, "a\ufffd");
  assert.equal(read("malclog-host", hosts(host("a\xe4\xbd"))).data[0].host, "a\u00e4\u00bd");
});

test("a backslash is a backslash, but for commands, where two are one", () => {
  assert.equal(read("ftplog", ftp("bo", "C:\\new\\u0041.txt")).data[0].name, "C:\\new\\u0041.txt");
  assert.equal(read("malclog-host", hosts(host("a\\"))).data[0].host, "a\\");
  assert.equal(read("telnetlog", telnet("bo", "ls a\\\\b\\\\")).data[0].cmd, "ls a\\b\\");
  assert.throws(() => read("telnetlog", telnet("bo", "a\\b")), /a single backslash of "cmd"/);
  assert.throws(() => read("telnetlog", telnet("bo", "a\\\\\\")), /a single backslash of "cmd"/);
});

test("control characters stay", () => {
  assert.equal(read("malclog-host", hosts(host("a\n\x1b[31m\x01"))).data[0].host, "a\n\u001b[31m\u0001");
  assert.equal(read("emaillog", mail("a\x01b", "")).data[0].from, "a\u0001b");
  for (const removed of [" ", "\t", "\x1b", "\r", "\n", "\\"]) {
    assert.throws(() => read("emaillog", mail(`a${removed}b`, "")), /always removed/);
  }
});

test("markup, formulas and names of the language's own stay texts", () => {
  for (const name of ["<script>alert(1)</script>", "=1+1", "__proto__", "&lt;", "{}", "],"]) {
    assert.equal(read("malclog-host", hosts(host(name))).data[0].host, name);
  }
});

test("a quote in a text breaks the document, where it stands", () => {
  broken("malclog-host", hosts(host('a"b')), 20, /no "," behind "host", at byte 20, in row 1/);
  broken("malclog-host", hosts(host('a","x":"b')), 21, /an unexpected member/);
  broken("malclog-host", hosts(host("a", ',"cnt":1,"cnt":2,"list":[]}')), 29, /an unexpected member/);
  broken("malclog-detail", detail(event("1", 'a","srcip_desc":"b')), 303, /an unexpected member/);
  assert.throws(() => read("ftplog", ftp('a","optype":"DELE', "x")), /unexpected member|not of its form/);
});

test("the rows before the break are told", () => {
  assert.throws(() => read("malclog-host", hosts(host("a"), host('b"'), host("c"))), (error) => {
    assert.deepEqual(error.rows, [{host: "a", cnt: 1, list: []}]);
    assert.match(error.message, /in row 2$/);
    return true;
  });
});

test("what is cut off or goes on is broken", () => {
  const whole = hosts(host("a"));
  for (let length = 0; length < whole.length; ++length) {
    assert.throws(() => read("malclog-host", whole.slice(0, length)), BrokenDocument, `${length} bytes`);
  }
  broken("malclog-host", `${whole}\n`, whole.length, /more behind the end/);
  broken("malclog-host", whole + whole, whole.length, /more behind the end/);
  broken("malclog-detail", '{"data":[DAEMON_BUSY\n', 9, /no "\{"/);
  broken("malclog-host", '{"data":[],"total":0}', 19, /no "count"/);
  broken("malclog-host", '{"rows":[],"count":0}', 8, /no rows/);
});

test("numbers out of their range are broken", () => {
  const row = (cnt) => `{"data":[{"host":"a","cnt":${cnt},"list":[]}],"count":1}`;
  assert.equal(read("malclog-host", row("4294967295")).data[0].cnt, 4294967295);
  for (const cnt of ["4294967296", "-1", "1.5", "1e3", "01", "", '"1"', "+1", "99999999999999999999999"]) {
    assert.throws(() => read("malclog-host", row(cnt)), BrokenDocument, cnt);
  }
  const id = (n) => `{"data":[{"ip":"1.2.3.4","cnt":1,"ip_desc":"","list":[{"cnt":1, "id":${n}, "name":"", "cname":""}]}],"count":1}`;
  assert.equal(read("malclog-dst", id(-2147483648)).data[0].list[0].id, -2147483648);
  assert.throws(() => read("malclog-dst", id(-2147483649)), BrokenDocument);
});

test("texts that have a form have it", () => {
  const swap = (from, to) => () => read("telnetlog", telnet("bo", "ls").replace(from, to));
  assert.throws(swap("10.20.2.7", "10.20.2"), /not of its form of "src_ip"/);
  assert.throws(swap("00-16-3e-00-00-07", "00-16-3E-00-00-07"), /not of its form of "mac"/);
  assert.throws(swap("2023-11-14/22:13:40", "2023-11-14 22:13:40"), /not of its form of "req_time"/);
});

test("the number of rows is that of the page asked for", () => {
  const rows = (n, count, head = "host") => `{"data":[${Array(n).fill(head === "host" ? host("a") : event("1")).join(",")}],"count":${count}}`;
  const fits = (listing, n, count, query, head) => {
    try {
      return read(listing, rows(n, count, head), query).data.length === n;
    } catch (error) {
      assert.match(error.message, /rows where the page has/);
      return false;
    }
  };
  // Host names: the first page has one row less than its limit.
  assert.ok(fits("malclog-host", 2, 5, {page: "1", limit: "3"}));
  assert.ok(!fits("malclog-host", 3, 5, {page: "1", limit: "3"}));
  assert.ok(fits("malclog-host", 3, 5, {page: "2", limit: "3"}));
  assert.ok(fits("malclog-host", 0, 5, {page: "3", limit: "3"}));
  assert.ok(fits("malclog-host", 99, 100, {}));  // page=1 limit=100
  assert.ok(!fits("malclog-host", 100, 100, {}));
  assert.ok(fits("malclog-host", 0, 5, {limit: "1"}));
  // Events: every page is full but the last.
  assert.ok(fits("malclog-detail", 3, 5, {page: "1", limit: "3"}, "event"));
  assert.ok(fits("malclog-detail", 2, 5, {page: "2", limit: "3"}, "event"));
  assert.ok(!fits("malclog-detail", 3, 5, {page: "2", limit: "3"}, "event"));
  const names = (n, total, query) => {
    const row = '{"dns":"a","flowcnt":2,"http":2,"https":"0","maxtime":1, "mintime":1,"http20x":1,"http30x":0,"http40x":1,"http50x":0,"port":"80"}';
    const text = `{"data":[${Array(n).fill(row).join(",")}],"total":${total}}`;
    return () => read("tcpreset-listdns", text, query);
  };
  assert.equal(names(2, 9, {row: "8-20"})().data.length, 2);
  assert.equal(names(0, 9, {row: "10-20"})().data.length, 0);
  assert.equal(names(9, 9, {})().data.length, 9);
  assert.throws(names(3, 9, {row: "8-20"}), /3 rows where the page has 2/);
  assert.throws(() => read("malclog-table", '{"data":[],"count":1}'), /0 rows where the page has 1/);
});

test("a forged row is one too many", () => {
  // 35 bytes, which the listing's 42 can hold: the row ends, and another begins.
  const forging = 'a","cnt":9,"list":[]},{"host":"b';
  const text = `{"data":[${host(forging)},${host("c")}],"count":2}`;
  broken("malclog-host", text, text.length, /3 rows where the page has 2/);
  broken("malclog-host", text, text.length, /3 rows where the page has 2/, {page: "1", limit: "20"});
});

test("pages are counted as the command counts them", () => {
  assert.equal(pageCount("malclog-host", 0, 20), 1);
  assert.equal(pageCount("malclog-host", 19, 20), 1);
  assert.equal(pageCount("malclog-host", 20, 20), 2);
  assert.equal(pageCount("emaillog", 20, 20), 1);
  assert.equal(pageCount("emaillog", 21, 20), 2);
  assert.equal(pageCount("tcpreset-listip", 0, 20), 1);
  assert.equal(pageCount("tcpreset-listip", 40, 20), 2);
  assert.equal(pageCount("malclog-table", 64, 20), 1);
});

test("lines of every reset session", () => {
  const line = "1700000000 2023-11-14/22:13:20 http Web browsing 169083141 40000 1572395042 80 0.42 0 40.96 10 207 2 ";
  const row = {time: 1700000000, local_time: "2023-11-14/22:13:20", names: "http Web browsing", src: 169083141,
    src_port: 40000, dst: 1572395042, dst_port: 80, metric1: 0.42, metric2: 0, metric3: 40.96, number1: 10,
    number2: 207, number3: 2};
  assert.deepEqual(read("tcpreset-list", `${line}www.example.com|404\n${line}NULL\n`),
    {data: [{...row, domain: "www.example.com|404"}, {...row, domain: "NULL"}]});
  // What a peer chose cannot move the columns before it.
  assert.deepEqual(read("tcpreset-list", `${line}1 2 3 4 0 0 0 5 6 7 x\n`).data, [{...row, domain: "1 2 3 4 0 0 0 5 6 7 x"}]);
  broken("tcpreset-list", `${line}a\nb\n`, line.length + 2, /a line that is not of its form, at byte \d+, in row 2/);
  assert.deepEqual(read("tcpreset-list", ""), {data: []});
});

test("lines of tables and asset objects", () => {
  assert.deepEqual(read("table-get", "10.1.1.1\n10.1.1.2-10.1.1.9 front desk\n"),
    {data: [{entry: "10.1.1.1", label: ""}, {entry: "10.1.1.2-10.1.1.9", label: "front desk"}]});
  assert.deepEqual(read("qsviptable-get", "10.1.1.1 \xe4\xbd\xa0\n"), {data: [{entry: "10.1.1.1", label: "你"}]});
  assert.deepEqual(read("assetsobj2-list", "1 -1 2 mail relay\n"),
    {data: [{number1: 1, number2: -1, number3: 2, name: "mail relay"}]});
  broken("assetsobj2-list", "1 1 x\n", 0, /not of its form/);
});

test("an unknown listing is an error of the caller", () => {
  assert.throws(() => read("constructor", "{}"), RangeError);
  assert.throws(() => read("", "{}"), RangeError);
});

test("a document of twenty thousand rows", () => {
  const rows = Array.from({length: 20000}, () => host("x".repeat(42)));
  assert.equal(read("malclog-host", hosts(...rows), {limit: "20001"}).data.length, 20000);
});

// ---- The members against the schemas ----------------------------------------------------------

/** A type of the decoder as the schema says it. */
function held(type, schema, where) {
  if (type.kind === "list") return forms(type.forms, schema.items, where);
  if (schema.const !== undefined) {
    return assert.deepEqual([type.kind, type.min, type.max], ["number", schema.const, schema.const], where);
  }
  if (type.kind === "bitmap") return assert.equal(schema.tsType, "bigint", where);
  if (type.kind === "number") {
    return assert.deepEqual([schema.type, type.min, type.max], ["integer", schema.minimum, schema.maximum ?? 0x7fffffff], where);
  }
  for (const value of schema.enum ?? []) assert.match(value, type.pattern, where);
  if (!schema.enum) assert.equal(schema.type, "string", where);
  assert.equal(Boolean(type.pattern), Boolean(schema.pattern ?? schema.enum), where);
  assert.equal(type.encoding === "gbk", /GB2312/.test(schema.description), where);
  assert.equal(Boolean(type.never), /without blanks, quotes, line ends and backslashes/.test(schema.description), where);
  assert.equal(Boolean(type.doubled), /backslashes doubled/.test(schema.description), where);
}

function forms(found, schema, where) {
  const objects = schema.oneOf ?? [schema];
  assert.equal(found.length, objects.length, where);
  objects.forEach((object, i) => {
    assert.deepEqual(found[i].map(([name]) => name), Object.keys(object.properties), where);
    for (const [name, type] of found[i]) held(type, object.properties[name], `${where} ${name}`);
  });
}

test("members, ranges and encodings are those of the schemas", () => {
  const schemas = readdirSync(new URL("docs/schema/", TOP)).filter((name) => name.endsWith(".schema.json"));
  assert.deepEqual(schemas.map((name) => name.replace(".schema.json", "")).sort(), Object.keys(LISTINGS).sort());
  for (const [listing, {rows, total, signedTotal}] of Object.entries(LISTINGS)) {
    const {properties} = JSON.parse(readFileSync(new URL(`docs/schema/${listing}.schema.json`, TOP), "utf-8"));
    assert.deepEqual(Object.keys(properties), ["data", total]);
    assert.equal(properties[total].minimum, signedTotal ? -2147483648 : 0);
    forms(rows, properties.data.items, listing);
  }
});
