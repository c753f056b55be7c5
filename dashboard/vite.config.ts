import { defineConfig } from 'vitest/config';

export default defineConfig({
  build: {
    rollupOptions: { input: ['index.html', 'centre.html'] }, // a probe's page, and a centre's with all of its sites
    target: 'es2022',
    assetsInlineLimit: 0, // the content security policy of the probe allows files of its own only
    modulePreload: { polyfill: false },
    reportCompressedSize: false,
  },
  test: { include: ['tests/**/*.test.ts'] },
});
