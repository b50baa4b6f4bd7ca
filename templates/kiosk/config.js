/** Where it begins. */
export const HOME = new URL('pages/home.html', document.baseURI).href;

/** The hosts that links may lead to; "*.example.org" means everything below it. HOME's is allowed anyway. */
export const ALLOWED = ['example.org', '*.example.org'];

/** Seconds without a touch, a key or a movement, after which it begins anew; 0 for never. */
export const IDLE = 120;
