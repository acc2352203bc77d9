// Types of qsvmon.js. Those of the documents are made of the schemas.
import type {Emaillog} from "../../docs/schema/types/emaillog.js";
import type {Ftplog} from "../../docs/schema/types/ftplog.js";
import type {MalclogApp} from "../../docs/schema/types/malclog-app.js";
import type {MalclogDetail} from "../../docs/schema/types/malclog-detail.js";
import type {MalclogDst} from "../../docs/schema/types/malclog-dst.js";
import type {MalclogHost} from "../../docs/schema/types/malclog-host.js";
import type {MalclogSrc} from "../../docs/schema/types/malclog-src.js";
import type {MalclogTable} from "../../docs/schema/types/malclog-table.js";
import type {TcpresetListdns} from "../../docs/schema/types/tcpreset-listdns.js";
import type {TcpresetListip} from "../../docs/schema/types/tcpreset-listip.js";
import type {Telnetlog} from "../../docs/schema/types/telnetlog.js";

/** A line of `tcpreset list`. Addresses are numbers, the first octet in the high byte. */
export interface ResetSessionLine {
  time: number;
  local_time: string;
  /** Name and display name of the application; both may hold blanks. */
  names: string;
  src: number;
  src_port: number;
  dst: number;
  dst_port: number;
  metric1: number;
  metric2: number;
  metric3: number;
  number1: number;
  number2: number;
  number3: number;
  /** "NULL" when there is none; "|" and the HTTP status behind it when there was a status. */
  domain: string;
}
/** A line of `table get` or `qsviptable get`; the label is empty without `info=1`. */
export interface TableLine {
  entry: string;
  label: string;
}
/** A line of `assetsobj2 list`. */
export interface AssetLine {
  number1: number;
  number2: number;
  number3: number;
  name: string;
}

/** What `decode` returns for each listing. */
export interface Documents {
  "tcpreset-listip": TcpresetListip;
  "tcpreset-listdns": TcpresetListdns;
  "malclog-detail": MalclogDetail;
  "malclog-dst": MalclogDst;
  "malclog-src": MalclogSrc;
  "malclog-app": MalclogApp;
  "malclog-table": MalclogTable;
  "malclog-host": MalclogHost;
  emaillog: Emaillog;
  ftplog: Ftplog;
  telnetlog: Telnetlog;
  "tcpreset-list": {data: ResetSessionLine[]};
  "table-get": {data: TableLine[]};
  "qsviptable-get": {data: TableLine[]};
  "assetsobj2-list": {data: AssetLine[]};
}

export class BrokenDocument extends Error {
  readonly offset: number;
  readonly rows: object[];
}
export function decode<Name extends keyof Documents>(
  bytes: Uint8Array, listing: Name, query?: Record<string, string>): Documents[Name];
export function pageCount(listing: keyof Documents, total: number, limit: number): number;
