// The texts of the pages, in the language that they are shown in.

import { en } from './en';

/** What a language has to tell. */
export type Texts = typeof en;

export const texts: Texts = en;
