// Shapes that say the same as the colours beside them.

import type { Level } from '../state/health';

const shapes: Record<Level, string> = {
  good: 'M3 8.5l3.2 3.2L13 5',
  fair: 'M8 2.5l6 11H2zM8 6.5v3.2M8 11.6v.1',
  bad: 'M5.2 1.8h5.6l3.4 3.4v5.6l-3.4 3.4H5.2l-3.4-3.4V5.2zM5.6 5.6l4.8 4.8M10.4 5.6l-4.8 4.8',
  offline: 'M2 2l12 12M4.6 7.4A5 5 0 0 1 8 6.2m3.4 1.2a5 5 0 0 0-1-.7M6.5 10.3a2.3 2.3 0 0 1 3 0M8 13v.1',
  unknown: 'M5.5 6a2.5 2.5 0 1 1 3.6 2.2c-.8.4-1.1.8-1.1 1.6M8 12.4v.1',
};

function Icon({ path }: { path: string }) {
  return (
    <svg viewBox="0 0 16 16" aria-hidden="true" fill="none" stroke="currentColor" stroke-width="1.7" stroke-linecap="round" stroke-linejoin="round">
      <path d={path} />
    </svg>
  );
}

export const LevelIcon = ({ level }: { level: Level }) => <Icon path={shapes[level]} />;
export const AlertIcon = () => <Icon path={shapes.bad} />;
export const WarningIcon = () => <Icon path={shapes.fair} />;
export const InfoIcon = () => <Icon path="M8 14A6 6 0 1 0 8 2a6 6 0 0 0 0 12zM8 7.5v3.6M8 5v.1" />;
export const SortIcon = ({ isUp }: { isUp: boolean }) => <Icon path={isUp ? 'M3 11l5-6 5 6' : 'M3 5l5 6 5-6'} />;

export function Mark() {
  return (
    <svg viewBox="0 0 32 32" aria-hidden="true">
      <rect width="32" height="32" rx="7" fill="var(--accent)" />
      <path d="M5 19h5l3-9 5 14 3-9h6" fill="none" stroke="var(--on-accent)" stroke-width="2.6" stroke-linecap="round" stroke-linejoin="round" />
    </svg>
  );
}
