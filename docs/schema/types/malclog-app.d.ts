/** Made by tools/make_types from malclog-app.schema.json: change that one. */

/**
 * What "qsvmon malclog list listtype=app" prints.
 */
export interface MalclogApp {
  /**
   * The rows of the page, in the listing's order.
   */
  data: EventsOfApplication[];
  /**
   * Rows on all pages.
   */
  count: number;
}
/**
 * One application.
 */
export interface EventsOfApplication {
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
   * Events.
   */
  count: number;
  /**
   * What was hit, in slot order; a category appears once.
   */
  list: HitOfApplication[];
}
/**
 * A category, or a signature with id 0.
 */
export interface HitOfApplication {
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
   * Display name of the category; "(null)" for a signature.
   */
  cname: string;
}
