/** Made by tools/make_types from malclog-table.schema.json: change that one. */

/**
 * What "qsvmon malclog list listtype=table" prints.
 */
export interface MalclogTable {
  /**
   * The rows of the page, in the listing's order.
   */
  data: (HitsOfSignature | HitsOfCategory)[];
  /**
   * Objects printed.
   */
  count: number;
}
/**
 * A signature, also one without hits.
 */
export interface HitsOfSignature {
  /**
   * Signature.
   */
  tid: number;
  mode: 1;
  /**
   * Vendor or version number.
   */
  vid: number;
  /**
   * 0: IP signature; 1: DNS signature.
   */
  type: number;
  /**
   * Name.
   */
  name: string;
  /**
   * Hits.
   */
  cnt: number;
}
/**
 * A category with at least one hit.
 */
export interface HitsOfCategory {
  /**
   * Category.
   */
  id: number;
  tid: 0;
  vid: 0;
  type: 0;
  mode: 2;
  /**
   * Name.
   */
  name: string;
  /**
   * Display name.
   */
  cname: string;
  /**
   * Hits of its signatures.
   */
  cnt: number;
}
