import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';

const inPackages = (name: string): string => fileURLToPath(new URL(`node_modules/${name}`, import.meta.url));

export default defineConfig({
  root: '..',
  cacheDir: inPackages('.browser'),
  // The tests stand beside the others of the repository, where no packages are.
  resolve: {
    alias: {
      'playwright-core': inPackages('playwright-core/index.mjs'),
      'axe-core': inPackages('axe-core/axe.js'),
      ajv: inPackages('ajv/dist/2020.js'),
      yaml: inPackages('yaml/dist/index.js'),
      vitest: inPackages('vitest/dist/index.js'),
    },
  },
  test: {
    include: ['tests/browser/**/*.test.ts'],
    testTimeout: 60_000,
    hookTimeout: 60_000,
    fileParallelism: false,
    expect: { poll: { timeout: 10_000 } }, // a busy machine takes its time; the default is a second
  },
});
