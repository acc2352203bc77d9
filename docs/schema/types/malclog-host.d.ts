/** Made by tools/make_types from malclog-host.schema.json: change that one. */

/**
 * What "qsvmon malclog list listtype=host" prints.
 */
export interface MalclogHost {
  /**
   * The rows of the page, in the listing's order.
   */
  data: EventsOfHost[];
  /**
   * Rows on all pages.
   */
  count: number;
}
/**
 * One host name.
 */
export interface EventsOfHost {
  /**
   * Host name, not escaped.
   */
  host: string;
  /**
   * Events.
   */
  cnt: number;
  /**
   * What was hit, in slot order; a category appears once.
   */
  list: HitOfHost[];
}
/**
 * A category or a signature.
 */
export interface HitOfHost {
  /**
   * Hits, modulo 65536.
   */
  cnt: number;
  /**
   * Name of the category or signature.
   */
  name: string;
  /**
   * 2: a category; else a signature.
   */
  mkmode: number;
  /**
   * Display name of the category; "NULL" for a signature.
   */
  cname: string;
}
