const own = (name) => new URL(`slides/${name}.html`, document.baseURI).href;

/** What is shown, in this order. */
export const SLIDES = [
  { url: own('welcome'), seconds: 8 },
  { url: own('today'), seconds: 8 },
  { url: own('thanks'), seconds: 6 },
];

/** Milliseconds. */
export const FADE = 800;
