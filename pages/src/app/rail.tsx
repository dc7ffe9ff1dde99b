import { MarkIcon, MoonIcon, SunIcon, SystemIcon, type IconComponent } from "../ui/icons";
import { hashOf, route } from "./router";
import { setTheme, theme, type Theme } from "./theme";
import { views } from "./views";

const themes: Record<Theme, { next: Theme; icon: IconComponent; title: string }> = {
  system: { next: "light", icon: SystemIcon, title: "System" },
  light: { next: "dark", icon: SunIcon, title: "Light" },
  dark: { next: "system", icon: MoonIcon, title: "Dark" },
};

export function nextTheme(): void {
  setTheme(themes[theme.value].next);
}

/// The views, always in reach, and the theme.
export function Rail() {
  const { icon: ThemeIcon, title } = themes[theme.value];
  return (
    <nav class="rail" aria-label="Views">
      <span class="mark" title="Mirebolt">
        <MarkIcon size={22} />
      </span>
      <ul>
        {views.map((view) => (
          <li key={view.id}>
            <a href={hashOf(view.id)} aria-current={route.value.view === view.id ? "page" : undefined}>
              <view.icon size={20} />
              {view.title}
            </a>
          </li>
        ))}
      </ul>
      <div class="end">
        <button type="button" class="rail-button" onClick={nextTheme} aria-label={`Theme: ${title}. Change`}>
          <ThemeIcon size={20} />
          {title}
        </button>
      </div>
    </nav>
  );
}
