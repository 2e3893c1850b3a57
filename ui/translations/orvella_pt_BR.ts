<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en_US">
<context>
    <name>InfoPlist</name>
    <message>
        <source>CFBundleName</source>
        <translation>Orvella</translation>
    </message>
    <message>
        <source>GenericName</source>
        <translation>Ajustes de webcam</translation>
    </message>
    <message>
        <source>Comment</source>
        <translation>Ajuste exposição, foco, balanço de branco e outros controles de imagem de webcams USB</translation>
    </message>
</context>
<context>
    <name>Localizable</name>
    <message>
        <source>About</source>
        <translation>Sobre o %1</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Sair do %1</translation>
    </message>
    <message>
        <source>UseBWMenuIcon</source>
        <translation>Ícone preto e branco na bandeja</translation>
    </message>
    <message>
        <source>Control_Panel_Title</source>
        <translation>%1</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>Exposição</translation>
    </message>
    <message>
        <source>Auto_Exposure_Mode</source>
        <translation>Modo de e&amp;xposição:</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manual</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>&amp;Automático</translation>
    </message>
    <message>
        <source>Shutter_Priority</source>
        <translation>Prioridade obturador</translation>
    </message>
    <message>
        <source>Aperture_Priority</source>
        <translation>Prioridade abertura</translation>
    </message>
    <message>
        <source>White_Balance_Temperature</source>
        <translation>Balanço de branco (temperatura)</translation>
    </message>
    <message>
        <source>Power_Line_Frequency</source>
        <translation>Frequência da rede elétrica</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Desativada</translation>
    </message>
    <message>
        <source>50_Hz</source>
        <translation>50 Hz</translation>
    </message>
    <message>
        <source>60_Hz</source>
        <translation>60 Hz</translation>
    </message>
    <message>
        <source>Backlight_Compensation</source>
        <translation>Compensação de luz de fundo</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Inicialização</translation>
    </message>
    <message>
        <source>Launch_App_at_Login</source>
        <translation>&amp;Abrir o %1 ao iniciar a sessão</translation>
    </message>
    <message>
        <source>Reset_to_Default</source>
        <translation>&amp;Restaurar padrão</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Básico</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avançado</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Foco</translation>
    </message>
    <message>
        <source>PanTilt</source>
        <translation>Giro e inclinação</translation>
    </message>
    <message>
        <source>LED</source>
        <translation>LED</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Ligado</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Desligado</translation>
    </message>
    <message>
        <source>ManageProfile</source>
        <translation>Perfis</translation>
    </message>
    <message>
        <source>ProfileModified</source>
        <translation>(modificado)</translation>
    </message>
    <message>
        <source>CameraDefault</source>
        <translation>Padrão da câmera</translation>
    </message>
    <message>
        <source>SaveNewProfile</source>
        <translation>Salvar como novo…</translation>
    </message>
    <message>
        <source>UpdateProfile</source>
        <translation>Atualizar</translation>
    </message>
    <message>
        <source>DeleteProfile</source>
        <translation>Excluir…</translation>
    </message>
    <message>
        <source>LoadAtStart</source>
        <translation>Carregar ao iniciar</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Preferências</translation>
    </message>
    <message>
        <source>UpdateSlider</source>
        <translation>Atualizar controles no modo automático</translation>
    </message>
    <message>
        <source>ReconfigureWebcam</source>
        <translation>Reaplicar os ajustes às câmeras</translation>
    </message>
    <message>
        <source>Webcam</source>
        <translation>Câmera</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Perfil</translation>
    </message>
    <message>
        <source>HideMenuBarIcon</source>
        <translation>&amp;Ocultar o ícone da bandeja</translation>
    </message>
    <message>
        <source>PopOverText</source>
        <translation>O %1 continua em execução na bandeja do sistema. Clique no ícone para mostrar o painel novamente.</translation>
    </message>
    <message>
        <source>DisableNotification</source>
        <translation>Não mostrar novamente</translation>
    </message>
    <message>
        <source>Exposure_Time</source>
        <translation>Tempo de exposição</translation>
    </message>
    <message>
        <source>Gain</source>
        <translation>Ganho</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Abertura</translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation>Brilho</translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation>Contraste</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>Matiz</translation>
    </message>
    <message>
        <source>Saturation</source>
        <translation>Saturação</translation>
    </message>
    <message>
        <source>Sharpness</source>
        <translation>Nitidez</translation>
    </message>
    <message>
        <source>Gamma</source>
        <translation>Gama</translation>
    </message>
    <message>
        <source>Zoom</source>
        <translation>Zoom</translation>
    </message>
    <message>
        <source>Pan</source>
        <translation>Giro</translation>
    </message>
    <message>
        <source>Tilt</source>
        <translation>Inclinação</translation>
    </message>
    <message>
        <source>NoiseReduction</source>
        <translation>Redução de ruído</translation>
    </message>
    <message>
        <source>Hide_Panel</source>
        <translation>Ocultar o painel do %1</translation>
    </message>
    <message>
        <source>Show_Panel</source>
        <translation>Mostrar o painel do %1</translation>
    </message>
    <message>
        <source>SaveBtn</source>
        <translation>Salvar</translation>
    </message>
    <message>
        <source>CancelBtn</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>SaveCurrentSettingsInfo</source>
        <translation>Salvar os ajustes atuais da câmera, com base em “%1”, como um novo perfil.</translation>
    </message>
    <message>
        <source>ProfileName</source>
        <translation>Nome do perfil</translation>
    </message>
    <message>
        <source>ProfileConfilict</source>
        <translation>Já existe um perfil com este nome</translation>
    </message>
    <message>
        <source>OKBtn</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>ProfileConfilictInfo</source>
        <translation>Este modelo de câmera já tem um perfil chamado “%1”. Escolha outro nome.</translation>
    </message>
    <message>
        <source>DeleteBtn</source>
        <translation>Excluir</translation>
    </message>
    <message>
        <source>DeleteSavedSettingsInfo</source>
        <translation>O perfil “%1” será excluído. Esta ação não pode ser desfeita.</translation>
    </message>
    <message>
        <source>ReadIntervalInfoWS</source>
        <translation>Enquanto um controle está no modo automático, a câmera o ajusta sozinha. Neste intervalo, o %1 lê esses valores de volta para que os controles deslizantes os mostrem.</translation>
    </message>
    <message>
        <source>WriteIntervalInfo</source>
        <translation>Algumas câmeras esquecem seus ajustes, por exemplo depois de serem usadas por outro programa. Neste intervalo, o %1 envia novamente os valores conhecidos a todas as câmeras conectadas.</translation>
    </message>
    <message>
        <source>HideTrayIconInfo</source>
        <translation>Sem o ícone na bandeja, inicie o %1 novamente (pelo menu de aplicativos ou com o comando orvella) para trazer de volta este painel.</translation>
    </message>
    <message>
        <source>Interval_Off</source>
        <translation>Nunca</translation>
    </message>
    <message>
        <source>1_Second</source>
        <translation>A cada segundo</translation>
    </message>
    <message>
        <source>2_Seconds</source>
        <translation>A cada 2 segundos</translation>
    </message>
    <message>
        <source>5_Seconds</source>
        <translation>A cada 5 segundos</translation>
    </message>
    <message>
        <source>10_Seconds</source>
        <translation>A cada 10 segundos</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Formato:</translation>
    </message>
    <message>
        <source>FPS</source>
        <translation>qps</translation>
    </message>
    <message>
        <source>Move_Up</source>
        <translation>Inclinar para cima</translation>
    </message>
    <message>
        <source>Move_Down</source>
        <translation>Inclinar para baixo</translation>
    </message>
    <message>
        <source>Move_Left</source>
        <translation>Girar para a esquerda</translation>
    </message>
    <message>
        <source>Move_Right</source>
        <translation>Girar para a direita</translation>
    </message>
    <message>
        <source>Move_Center</source>
        <translation>Voltar ao centro</translation>
    </message>
    <message>
        <source>Interval_Info</source>
        <translation>Para que serve isto?</translation>
    </message>
    <message>
        <source>NoCamera</source>
        <translation>Nenhuma câmera conectada</translation>
    </message>
    <message>
        <source>RenameCamera</source>
        <translation>Renomear…</translation>
    </message>
    <message>
        <source>RenameCameraTitle</source>
        <translation>Renomear câmera</translation>
    </message>
    <message>
        <source>RenameCameraInfo</source>
        <translation>Nome para “%1”. Deixe-o vazio para voltar ao nome próprio da câmera.</translation>
    </message>
    <message>
        <source>CameraName</source>
        <translation>Nome da câmera</translation>
    </message>
    <message>
        <source>CameraNotAnswering</source>
        <translation>A câmera não responde</translation>
    </message>
    <message>
        <source>NoCameraFound</source>
        <translation>Nenhuma câmera conectada. Conecte uma webcam UVC ou experimente a câmera de demonstração.</translation>
    </message>
    <message>
        <source>AddDemoCamera</source>
        <translation>Adicionar a câmera de demonstração</translation>
    </message>
    <message>
        <source>OtherPrograms</source>
        <translation>Outros programas</translation>
    </message>
    <message>
        <source>KeepMySettings</source>
        <translation>&amp;Manter meus ajustes quando outros programas usarem a câmera</translation>
    </message>
    <message>
        <source>GuardSettleTime</source>
        <translation>Restaurar após:</translation>
    </message>
    <message>
        <source>Wait_1_Second</source>
        <translation>1 segundo</translation>
    </message>
    <message>
        <source>Wait_2_Seconds</source>
        <translation>2 segundos</translation>
    </message>
    <message>
        <source>Wait_5_Seconds</source>
        <translation>5 segundos</translation>
    </message>
    <message>
        <source>ReconfigureWebcamGuardNote</source>
        <translation>Desnecessário enquanto seus ajustes são mantidos: o %1 os restaura assim que outro programa os altera.</translation>
    </message>
    <message>
        <source>Display_Value_Of</source>
        <translation>Mostrar o valor de %1</translation>
    </message>
    <message>
        <source>Decrease_Control</source>
        <translation>Diminuir %1</translation>
    </message>
    <message>
        <source>Increase_Control</source>
        <translation>Aumentar %1</translation>
    </message>
    <message>
        <source>Auto_Control</source>
        <translation>%1 automático</translation>
    </message>
    <message>
        <source>AnotherProgram</source>
        <translation>Outro programa</translation>
    </message>
    <message>
        <source>AnotherUsersProgram</source>
        <translation>O programa de outro usuário</translation>
    </message>
    <message>
        <source>SecondsAgo</source>
        <translation>há %1 s</translation>
    </message>
    <message>
        <source>MinutesAgo</source>
        <translation>há %1 min</translation>
    </message>
    <message>
        <source>WhoChangedControls</source>
        <translation>%1 alterou %2 controles %3 — restaurados</translation>
    </message>
    <message>
        <source>WhoChangedOneControl</source>
        <translation>%1 alterou um controle %2 — restaurado</translation>
    </message>
    <message>
        <source>WhoOpenedCamera</source>
        <translation>%1 abriu a câmera %2 — restaurado</translation>
    </message>
    <message>
        <source>WhoGotProfile</source>
        <translation>%1 abriu a câmera %2 — perfil “%3” aplicado</translation>
    </message>
    <message>
        <source>WhoLetGo</source>
        <translation>%1 liberou a câmera %2 — restaurado</translation>
    </message>
    <message>
        <source>ChromiumPipeWireNote</source>
        <translation>%1 redefine os controles da câmera sempre que a inicia. Iniciado com --enable-features=WebRtcPipeWireCamera, ele usa a câmera pelo PipeWire e não os altera.</translation>
    </message>
    <message>
        <source>DismissNote</source>
        <translation>Não mostrar novamente</translation>
    </message>
    <message>
        <source>RuleForProgram</source>
        <translation>Para</translation>
    </message>
    <message>
        <source>EveryOtherProgram</source>
        <translation>Todos os outros programas</translation>
    </message>
    <message>
        <source>RuleKeepMySettings</source>
        <translation>Manter minhas configurações</translation>
    </message>
    <message>
        <source>RuleApplyProfile</source>
        <translation>Aplicar perfil</translation>
    </message>
    <message>
        <source>RuleLeaveAlone</source>
        <translation>Não mexer na câmera</translation>
    </message>
    <message>
        <source>LockTheLook</source>
        <translation>Fixar a imagem</translation>
    </message>
    <message>
        <source>LookLocked</source>
        <translation>Imagem fixada: os modos automáticos agora são manuais</translation>
    </message>
    <message>
        <source>LookNotStuck</source>
        <translation>Imagem fixada, mas isto não se manteve: %1</translation>
    </message>
    <message>
        <source>NothingToLock</source>
        <translation>Nada a fixar: nenhum modo automático está ativo</translation>
    </message>
    <message>
        <source>PreviewFormat</source>
        <translation>Pré-visualização</translation>
    </message>
    <message>
        <source>PreviewUnreadable</source>
        <translation>Alguns quadros não podem ser exibidos</translation>
    </message>
    <message>
        <source>PreviewInUse</source>
        <translation>Em uso por outro programa</translation>
    </message>
    <message>
        <source>PreviewNoPicture</source>
        <translation>Nenhuma imagem da câmera</translation>
    </message>
    <message>
        <source>ShowPreview</source>
        <translation>Mostrar pré-visualização</translation>
    </message>
    <message>
        <source>AllControls</source>
        <translation>Todos os controles</translation>
    </message>
    <message>
        <source>CameraGroup</source>
        <translation>Câmera</translation>
    </message>
    <message>
        <source>ImageGroup</source>
        <translation>Imagem</translation>
    </message>
    <message>
        <source>VendorGroup</source>
        <translation>Fabricante</translation>
    </message>
    <message>
        <source>NoMoreControls</source>
        <translation>Esta câmera não tem outros controles além dos das outras abas.</translation>
    </message>
    <message>
        <source>UnknownExtensionUnit</source>
        <translation>Unidade de extensão desconhecida</translation>
    </message>
    <message>
        <source>ScanningMode</source>
        <translation>Modo de varredura</translation>
    </message>
    <message>
        <source>ExposureTimeRelative</source>
        <translation>Passo de exposição</translation>
    </message>
    <message>
        <source>FocusRelative</source>
        <translation>Passo de foco</translation>
    </message>
    <message>
        <source>IrisAbsolute</source>
        <translation>Íris</translation>
    </message>
    <message>
        <source>ZoomRelative</source>
        <translation>Passo de zoom</translation>
    </message>
    <message>
        <source>PanRelative</source>
        <translation>Passo de giro</translation>
    </message>
    <message>
        <source>TiltRelative</source>
        <translation>Passo de inclinação</translation>
    </message>
    <message>
        <source>RollAbsolute</source>
        <translation>Rotação</translation>
    </message>
    <message>
        <source>RollRelative</source>
        <translation>Passo de rotação</translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation>Obturador de privacidade</translation>
    </message>
    <message>
        <source>FocusSimple</source>
        <translation>Faixa de foco</translation>
    </message>
    <message>
        <source>DigitalWindow</source>
        <translation>Janela digital</translation>
    </message>
    <message>
        <source>RegionOfInterest</source>
        <translation>Região de interesse</translation>
    </message>
    <message>
        <source>WhiteBalanceBlue</source>
        <translation>Balanço de branco, azul</translation>
    </message>
    <message>
        <source>WhiteBalanceRed</source>
        <translation>Balanço de branco, vermelho</translation>
    </message>
    <message>
        <source>HueAuto</source>
        <translation>Matiz automático</translation>
    </message>
    <message>
        <source>WhiteBalanceComponentAuto</source>
        <translation>Balanço de cor automático</translation>
    </message>
    <message>
        <source>DigitalMultiplier</source>
        <translation>Zoom digital</translation>
    </message>
    <message>
        <source>DigitalMultiplierLimit</source>
        <translation>Limite do zoom digital</translation>
    </message>
    <message>
        <source>AnalogVideoStandard</source>
        <translation>Padrão de vídeo analógico</translation>
    </message>
    <message>
        <source>AnalogVideoLockStatus</source>
        <translation>Travamento de vídeo analógico</translation>
    </message>
    <message>
        <source>ContrastAuto</source>
        <translation>Contraste automático</translation>
    </message>
</context>
</TS>
