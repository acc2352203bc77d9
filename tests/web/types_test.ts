// Must compile: what the types allow, and by "expect-error" what they do not.
import {BrokenDocument, decode, pageCount} from "../../examples/web/qsvmon.js";

const bytes = new Uint8Array();

for (const row of decode(bytes, "tcpreset-listip").data) {
  const flows: number = row.flowcnt;
  const https: string = row.https;
  // @ts-expect-error: which kind of row it is has to be asked first
  const port: string = row.port;
  if ("app" in row) {
    const app: string = row.app;
    // @ts-expect-error: a row of a source has no ports
    const ports: string = row.port;
  } else {
    const ports: string = row.port;
  }
}

for (const row of decode(bytes, "malclog-detail", {page: "1"}).data) {
  const bitmap: bigint = row.bitmap;
  // @ts-expect-error: a number would lose bits
  const bits: number = row.bitmap;
  // @ts-expect-error: no such member
  const surprise = row.surprise;
  const entry = row.list[0];
  if ("mkmode" in entry && entry.mkmode === 2) {
    const name: string = entry.cname;
  }
}

for (const row of decode(bytes, "malclog-table").data) {
  const name: string = row.mode === 2 ? row.cname : row.name;
  // @ts-expect-error: a signature has no category
  if (row.mode === 1) void row.id;
}

const operation: "STOR" | "RETR" | "UNKN" | "DELE" | "RMD" | "RNFR" | "RNTO" | "USER" | "PASS" | "NULL" =
  decode(bytes, "ftplog").data[0].optype;
const label: string = decode(bytes, "table-get").data[0].label;
const pages: number = pageCount("malclog-host", 41, 20);
// @ts-expect-error: no such listing
decode(bytes, "ftp");
try {
  decode(bytes, "telnetlog");
} catch (error) {
  if (error instanceof BrokenDocument) {
    const at: number = error.offset;
  }
}
