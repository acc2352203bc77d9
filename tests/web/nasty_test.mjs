// The decoder over real output: the sample data, generated records and the data of what a consumer
// must survive. QSVMON_PROGRAM and QSVSIM_PROGRAM name the programs.
import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {mkdtempSync, rmSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";
import test from "node:test";

import {BrokenDocument, decode} from "../../examples/web/qsvmon.js";

const COMMANDS = {
  "tcpreset-listip": "tcpreset listip", "tcpreset-listdns": "tcpreset listdns",
  "tcpreset-list": "tcpreset list", "malclog-detail": "malclog list listtype=detail",
  "malclog-dst": "malclog list listtype=dst", "malclog-src": "malclog list listtype=src",
  "malclog-app": "malclog list listtype=app", "malclog-table": "malclog list listtype=table",
  "malclog-host": "malclog list listtype=host", "emaillog": "emaillog list", "ftplog": "ftplog list",
  "telnetlog": "telnetlog list", "table-get": "table get tid=1 info=1",
  "qsviptable-get": "qsviptable get tid=2 info=1", "assetsobj2-list": "assetsobj2 list",
};

/** Runs `use` with a function that gives a command's output as bytes. */
function withAppliance(options, use) {
  const root = mkdtempSync(join(tmpdir(), "qsvmon-web-"));
  const simulator = (...more) => spawnSync(process.env.QSVSIM_PROGRAM, ["--root", root, ...more], {stdio: "ignore"});
  assert.equal(simulator("--background", ...options).status, 0);
  try {
    use((words) => {
      const run = spawnSync(process.env.QSVMON_PROGRAM, words.split(" "),
        {cwd: root, maxBuffer: 1 << 28, env: {...process.env, TZ: "UTC"}});
      assert.equal(run.status, 0, words);
      return new Uint8Array(run.stdout);
    });
  } finally {
    simulator("--stop");
    rmSync(root, {recursive: true});
  }
}

const words = (query) => Object.entries(query).map(([key, value]) => ` ${key}=${value}`).join("");

for (const options of [["--data", "sample"], ["--records", "3000", "--distinct", "700", "--batch", "500"]]) {
  test(`every listing with ${options.join(" ")}`, () => withAppliance(options, (run) => {
    for (const [listing, command] of Object.entries(COMMANDS)) {
      const {data} = decode(run(command), listing);
      assert.ok(data.length > 0, listing);
    }
    for (const query of [{page: "1", limit: "7"}, {page: "2", limit: "7"}, {page: "9999", limit: "7"}]) {
      for (const listing of Object.keys(COMMANDS).filter((name) => /log/.test(name) && name !== "malclog-table")) {
        decode(run(COMMANDS[listing] + words(query)), listing, query);
      }
    }
    for (const query of [{row: "1-7"}, {row: "8-14"}, {row: "0-3"}, {row: "5-1"}, {row: "900000-900007"}]) {
      decode(run(`tcpreset listip${words(query)}`), "tcpreset-listip", query);
      decode(run(`tcpreset listip type=src${words(query)}`), "tcpreset-listip", query);
      decode(run(`tcpreset listdns${words(query)}`), "tcpreset-listdns", query);
    }
  }));
}

test("what a consumer must survive", () => withAppliance(["--data", "nasty"], (run) => {
  const broken = [];
  for (const [listing, command] of Object.entries(COMMANDS)) {
    const query = /log/.test(listing) && listing !== "malclog-table" ? {limit: "1000"} : {};
    const bytes = run(command + words(query));
    try {
      decode(bytes, listing, query);
    } catch (error) {
      assert.ok(error instanceof BrokenDocument, `${listing}: ${error}`);
      broken.push(listing);
    }
  }
  assert.deepEqual(broken.sort(), ["emaillog", "ftplog", "malclog-app", "malclog-detail", "malclog-host",
    "tcpreset-list", "tcpreset-listdns", "telnetlog"]);
}));

test("what the data's texts are, byte by byte", () => withAppliance(["--data", "nasty"], (run) => {
  const {data} = decode(run("tcpreset listdns row=1-30"), "tcpreset-listdns", {row: "1-30"});
  const names = data.map((row) => row.dns);
  for (const name of ["<script>alert(1)</script>", "=cmd|'/C calc'!A0", "a\u009b31mred\u009b0m", "b\u00fccher.example"]) {
    assert.ok(names.includes(name), name);
  }
  // A text of 31 bytes that ends in the middle of a character is not UTF-8.
  assert.ok(names.includes(`${"a".repeat(29)}\u00e4\u00bd`));
  const events = decode(run("malclog list listtype=detail page=1 limit=1"), "malclog-detail", {page: "1", limit: "1"});
  assert.equal(events.data[0].bitmap, 18446744073709551615n);
  assert.equal(events.data[0].list.length, 64);
}));
