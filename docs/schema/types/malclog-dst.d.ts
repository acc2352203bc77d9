/** Made by tools/make_types from malclog-dst.schema.json: change that one. */

/**
 * What "qsvmon malclog list listtype=dst" prints.
 */
export interface MalclogDst {
  /**
   * The rows of the page, in the listing's order.
   */
  data: EventsOfDestination[];
  /**
   * Rows on all pages.
   */
  count: number;
}
/**
 * One address.
 */
export interface EventsOfDestination {
  /**
   * Destination address.
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
  list: HitOfDestination[];
}
/**
 * A category, or a signature with id 0.
 */
export interface HitOfDestination {
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
