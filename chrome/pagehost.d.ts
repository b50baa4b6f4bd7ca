// Types of pagehost.js, the library of chromes. What it wraps is typed in native.d.ts.

import type {
  ChromeAnswers, ChromeEvents, NativeFunctions, Numeric, OrvWebFindStringEvent, OrvWebJavaScriptWorld, OrvWebRect, OrvWebSize,
  PropertyEvents, PropertyName, WindowAnimationCurve,
} from './native.d.ts';

export type * from './native.d.ts';

/** Every event with its data as listeners get it: parsed, or a property's text. */
export type EventDatas = ChromeEvents & PropertyEvents & { errors: string };
export type EventName = keyof EventDatas;

/** An event of a web view, or an error text of the host (name "errors", handle 0). */
export interface HostEvent<Name extends EventName = EventName> {
  /** The web view it came from. */
  readonly handle: number;
  readonly name: Name;
  /** The data as the host sent it. */
  readonly text: string;
  readonly data: EventDatas[Name];
  readonly integer: number;
}

/** What a listener may return: setters for events that wait for an answer. Promises are no answer. */
export type Answer<Name extends EventName> = Name extends keyof ChromeAnswers ? ChromeAnswers[Name] | void : void;
export type Listener<Name extends EventName> = (event: HostEvent<Name>) => Answer<Name>;
/** Ends the listening. */
export type Off = () => void;

type PropertyValue<Property> =
  Property extends 'CanGoBack' | 'CanGoForward' ? boolean : Property extends 'LoadProgress' | 'Scale' ? number : string;

type OfGroup<Group extends string> = {
  readonly [Full in keyof NativeFunctions as Full extends `${Group}.${infer Name}` ? Name : never]: NativeFunctions[Full];
};
type GroupName = keyof NativeFunctions extends infer Full ? Full extends `${infer Group}.${string}` ? Group : never : never;

/** All native functions, by their groups: `native.application.requestExit()`. */
export const native: { readonly [Group in GroupName]: OfGroup<Group> };

/** The functions "webview.NAME" without the web view that comes first. */
export type ViewCommands = {
  [Full in keyof NativeFunctions as Full extends `webview.${infer Name}`
    ? Exclude<Name, 'create' | 'delete' | 'list' | keyof ViewMethods> : never]:
      NativeFunctions[Full] extends (view: Numeric, ...values: infer Values) => infer Result
        ? (...values: Values) => Result : never;
};

interface ViewMethods {
  readonly handle: number;
  /** Its window, for native functions that want one: a number that is no handle of a web view. */
  readonly window: number;
  /** Rejected if the web view ends before it began. */
  readonly created: Promise<WebView>;
  /** Runs the action inside "Created", or now if that is past. */
  whenCreated(action: () => void): void;
  /** Listens to an event of this web view, and has the host send it. */
  on<Name extends EventName>(name: Name, listener: Listener<Name>): Off;
  /** Listens to the changes of a property, and has the host report them. */
  onProperty<Property extends PropertyName>(property: Property, listener: (value: PropertyValue<Property>) => void): Off;
  /** Listens to the end of the process that shows the page; after the cause "host" the web view is gone. */
  onProcessEnd(listener: (end: ProcessEnd) => Answer<'NetworkError'>): Off;
  /** Ends when the document has loaded; rejected, with `url` and `status`, when it has not. */
  load(url: string): Promise<void>;
  /** The value of a script that runs in the page, as text; rejected with what it throws. */
  run(script: string, world?: OrvWebJavaScriptWorld): Promise<string>;
  /** Finds a text, or its next match. */
  find(text: string, forward?: boolean, caseSensitive?: boolean, wrap?: boolean, highlightAll?: boolean): Promise<OrvWebFindStringEvent>;
  /** A picture of the page as a data: address, of all of it if no part of it is named; empty if there is nothing to see. */
  capture(wish?: { scale?: number; part?: OrvWebRect; size?: OrvWebSize }): Promise<string>;
  cookies(url: string): Promise<string[]>;
  /** Frees the web view. */
  delete(): void;
}

export interface ProcessEnd {
  /** It crashed, took too much memory, was ended by somebody, or its child process has ended. */
  readonly cause: 'crashed' | 'memory' | 'ended' | 'host';
  readonly isGone: boolean;
}

/**
 * A web view. Commands before `Created` are kept until then, in their order, and give "": who needs
 * an answer waits for `created`.
 */
export interface WebView extends ViewMethods, ViewCommands {}
export const WebView: {
  new (handle: Numeric): WebView;
  /** Asks for a new web view, in the chrome's window group and the host's own process by default. */
  create(group?: string, process?: Numeric): WebView;
  /** All but the chrome's; a chrome that was loaded again keeps those of its former document by asking. */
  list(): WebView[];
  /** The web view that shows the chrome. */
  readonly root: WebView;
};

export const MISSING: string;
/** Whether the page runs inside the host. */
export function isHosted(): boolean;
/** Calls a native function by its full name. Arguments cross as text, and so does the result. */
export function call<Name extends keyof NativeFunctions>(name: Name, ...values: Parameters<NativeFunctions[Name]>): ReturnType<NativeFunctions[Name]>;
/** The names of all native functions. */
export function listBindings(): string[];
/** Listens to an event of every web view, or to "errors". */
export function on<Name extends EventName>(name: Name, listener: Listener<Name>): Off;

type Place = readonly [x: number, y: number];
type Alpha = readonly [alpha: number];
export type Change =
  ({ view: WebView; window?: never } | { window: Numeric; view?: never })
  & ({ from: Place; to: Place } | { from: Alpha; to: Alpha });

/**
 * Moves (from [x, y]) or fades (from [alpha], 0 to 255) windows together; the duration is in
 * milliseconds. Ends when the last of them has ended. What is no window is a TypeError.
 */
export function animate(
  timing: { curve?: WindowAnimationCurve; duration: number }, changes: readonly Change[],
): Promise<void> & { readonly ids: number[] };
