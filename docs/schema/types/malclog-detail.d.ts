/** Made by tools/make_types from malclog-detail.schema.json: change that one. */

/**
 * What "qsvmon malclog list listtype=detail" prints.
 */
export interface MalclogDetail {
  /**
   * The rows of the page, in the listing's order.
   */
  data: MaliciousEvent[];
  /**
   * Matching events on all pages, signed.
   */
  count: number;
}
/**
 * One event.
 */
export interface MaliciousEvent {
  /**
   * What the event matched; never empty.
   *
   * @minItems 1
   */
  list: [
    SignatureAskedFor | MatchedSignature | MatchedCategory,
    ...(SignatureAskedFor | MatchedSignature | MatchedCategory)[]
  ];
  /**
   * Source address.
   */
  src_ip: string;
  /**
   * Source port.
   */
  src_port: number;
  /**
   * Destination address.
   */
  dst_ip: string;
  /**
   * Destination port.
   */
  dst_port: number;
  /**
   * Application.
   */
  apid: number;
  /**
   * Name; "undname" without a dictionary.
   */
  appname: string;
  /**
   * Display name; "undname" without a dictionary.
   */
  appcname: string;
  /**
   * MAC address of the internal host.
   */
  mac: string;
  /**
   * Time, local.
   */
  req_time: string;
  /**
   * Time, seconds since the epoch.
   */
  time: number;
  /**
   * IP protocol.
   */
  proto: number;
  /**
   * Bit n: the signature in slot n matched. Beyond 2^53 a double loses bits.
   */
  bitmap: bigint;
  /**
   * Host name, empty when none; not escaped.
   */
  host: string;
  /**
   * Label of the source address.
   */
  srcip_desc: string;
  /**
   * Label of the destination address.
   */
  dstip_desc: string;
  /**
   * What matched, as a number in quotes: 1 source, 2 destination, 4 DNS name, 8 URI, added up.
   */
  sign: string;
  /**
   * Label of the MAC address.
   */
  ipmac_desc: string;
  /**
   * "1": the source matched.
   */
  src_sign: "0" | "1";
  /**
   * "1": the destination matched.
   */
  dst_sign: "0" | "1";
  /**
   * "1": the DNS name matched.
   */
  dns_sign: "0" | "1";
  /**
   * "1": the URI matched.
   */
  uri_sign: "0" | "1";
}
/**
 * With tid=: the signature asked for.
 */
export interface SignatureAskedFor {
  /**
   * Signature.
   */
  tid: number;
  /**
   * 0: IP signature; 1: DNS signature.
   */
  type: number;
  /**
   * Name.
   */
  name: string;
  cnt: 1;
}
/**
 * A signature listed under its own name.
 */
export interface MatchedSignature {
  /**
   * Signature.
   */
  tid: number;
  /**
   * 0: IP signature; 1: DNS signature.
   */
  type: number;
  /**
   * Name.
   */
  name: string;
  mkmode: 1;
  cnt: 1;
}
/**
 * A category, once per event.
 */
export interface MatchedCategory {
  /**
   * Category.
   */
  id: number;
  type: 0;
  /**
   * Name.
   */
  name: string;
  /**
   * Display name.
   */
  cname: string;
  mkmode: 2;
  cnt: 1;
}
