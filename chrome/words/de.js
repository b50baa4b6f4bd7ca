export const de = {};
