/** Made by tools/make_types from tcpreset-listdns.schema.json: change that one. */

/**
 * What "qsvmon tcpreset listdns" prints.
 */
export interface TcpresetListdns {
  /**
   * The rows of the page, in the listing's order.
   */
  data: ResetSessionsOfName[];
  /**
   * Rows that pass the filter, on any page.
   */
  total: number;
}
/**
 * One domain name.
 */
export interface ResetSessionsOfName {
  /**
   * Domain name, not escaped.
   */
  dns: string;
  /**
   * Reset sessions of this row.
   */
  flowcnt: number;
  /**
   * Those of class HTTP.
   */
  http: number;
  /**
   * Those of class HTTPS: a number in quotes, as the front end expects.
   */
  https: string;
  /**
   * Latest session, seconds since the epoch.
   */
  maxtime: number;
  /**
   * Earliest session, seconds since the epoch.
   */
  mintime: number;
  /**
   * Sessions with an HTTP status from 200 to 299.
   */
  http20x: number;
  /**
   * Sessions with an HTTP status from 300 to 399.
   */
  http30x: number;
  /**
   * Sessions with an HTTP status from 400 to 499.
   */
  http40x: number;
  /**
   * Sessions with an HTTP status of 500 or more.
   */
  http50x: number;
  /**
   * Up to eight destination ports, joined by commas.
   */
  port: string;
}
