// What the lab's JavaScript has to keep to: the rules that ESLint's authors recommend, and no more.

import js from '@eslint/js';
import globals from 'globals';

export default [
  js.configs.recommended,
  {files: ['lab/browser/extension/**'], languageOptions: {sourceType: 'script', globals: {...globals.browser, ...globals.webextensions}}},
  {files: ['lab/browser/site/**'], languageOptions: {globals: globals.browser}},
  {files: ['**/*.mjs'], languageOptions: {globals: globals.node}},
];
