/** Made by tools/make_types from malclog-src.schema.json: change that one. */

/**
 * What "qsvmon malclog list listtype=src" prints.
 */
export interface MalclogSrc {
  /**
   * The rows of the page, in the listing's order.
   */
  data: EventsOfSource[];
  /**
   * Rows on all pages.
   */
  count: number;
}
/**
 * One address.
 */
export interface EventsOfSource {
  /**
   * Source address.
   */
  ip: string;
  /**
   * Events.
   */
  cnt: number;
  /**
   * Label of the address, empty when it has none.
   */
  ip_desc: string;
  /**
   * What was hit, in slot order; a category appears once.
   */
  list: HitOfSource[];
}
/**
 * A category, or a signature with id 0.
 */
export interface HitOfSource {
  /**
   * Hits, modulo 65536.
   */
  cnt: number;
  /**
   * Category; 0 for a signature.
   */
  id: number;
  /**
   * Name of the category or signature.
   */
  name: string;
  /**
   * Display name of the category; "NULL" for a signature.
   */
  cname: string;
}
