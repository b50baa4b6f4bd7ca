export const value = 'from a module';
