/** Made by tools/make_types from tcpreset-listip.schema.json: change that one. */

/**
 * What "qsvmon tcpreset listip" prints.
 */
export interface TcpresetListip {
  /**
   * The rows of the page, in the listing's order.
   */
  data: (ResetSessionsOfDestination | ResetSessionsOfSource)[];
  /**
   * Rows that pass the filter, on any page.
   */
  total: number;
}
/**
 * With type=dst, and without type=: one destination address.
 */
export interface ResetSessionsOfDestination {
  /**
   * Destination address.
   */
  ip: string;
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
   * Up to eight destination ports, joined by commas.
   */
  port: string;
}
/**
 * With type=src: one source address.
 */
export interface ResetSessionsOfSource {
  /**
   * Source address.
   */
  ip: string;
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
   * Up to eight applications as name|display name, joined by commas.
   */
  app: string;
}
