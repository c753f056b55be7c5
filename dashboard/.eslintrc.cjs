module.exports = {
  root: true,
  parser: '@typescript-eslint/parser',
  parserOptions: { project: './tsconfig.json', tsconfigRootDir: __dirname },
  plugins: ['@typescript-eslint'],
  extends: ['eslint:recommended', 'plugin:@typescript-eslint/strict-type-checked'],
  ignorePatterns: ['generated', '*.js', '*.cjs'],
  overrides: [{ files: ['**/*.test.ts'], rules: { 'max-lines': 'off', 'max-lines-per-function': 'off' } }],
  rules: {
    eqeqeq: 'error',
    'no-console': 'error',
    'max-lines': ['error', 300],
    'max-lines-per-function': ['error', { max: 80, skipBlankLines: true, skipComments: true }],
    // Text from devices is text: nothing may make it markup.
    'no-restricted-properties': ['error', { property: 'innerHTML' }, { property: 'outerHTML' }],
    'no-restricted-syntax': ['error', "JSXAttribute[name.name='dangerouslySetInnerHTML']"],
    '@typescript-eslint/restrict-template-expressions': ['error', { allowNumber: true }],
    '@typescript-eslint/no-confusing-void-expression': ['error', { ignoreArrowShorthand: true }],
  },
};
